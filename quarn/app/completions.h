#pragma once

#include <QByteArray>
#include <vector>

#include "quarn/app/typedLine.h"

namespace quarn::app {

/// Words that begin with `begun` and may follow those of `line`: commands of Tcl, the host and objects where there are
/// none. What Tcl would take for several words, or for more than a word, is quoted, and then begins with a quotation
/// mark or brace. Behind a quotation mark that is open names stand for themselves; those that cannot are left out.
std::vector<QByteArray> completions(const TypedLine& line, const QByteArray& begun);

}  // namespace quarn::app
