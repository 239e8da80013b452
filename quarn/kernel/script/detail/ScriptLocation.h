#pragma once

#include <QString>
#include <QStringList>

namespace quarn::detail {

/// A place in a script file; line 0 when it is not known.
struct ScriptLocation {
  QString file;
  int line = 0;
};

/// The innermost file and line that Tcl's trace of an error names. The trace begins with `message`, which is passed
/// over. `fileName` is the file that was run: the answer when the trace names none, and the full form of a name that
/// Tcl has cut.
ScriptLocation innermostLocation(const QString& trace, const QString& message, const QString& fileName);

/// The procedures that the trace names, the innermost first, each as "NAME, line N" with the line counted from the
/// procedure's first.
QStringList procedures(const QString& trace, const QString& message);

}  // namespace quarn::detail
