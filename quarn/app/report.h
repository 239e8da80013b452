#pragma once

#include <QString>

#include "quarn/kernel/app/HxTerminalSink.h"
#include "quarn/kernel/script/HxInterpreter.h"

namespace quarn::app {

/// Writes a line to standard output.
void printOut(const QString& text);

/// Writes a line to standard error.
void printError(const QString& text);

/// Writes why a script failed to standard error, with file and line. A message that stands on the same terminal already
/// is not repeated.
void reportError(const HxScriptError& error, const HxTerminalSink& terminal);

}  // namespace quarn::app
