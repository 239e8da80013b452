#pragma once

#include <QString>
#include <QStringList>

namespace quarn::detail {

/// A place in a script file; line 0 when it is not known.
struct ScriptLocation {
  QString file;
  int line = 0;
};

/// The innermost file that Tcl's trace of an error names, and the line in it, also inside of blocks whose brace stands
/// in the first line of their command. The trace begins with `message`, which is passed over. `fileName` is the file
/// that was run: the answer when the trace names none, and the full form of a name that Tcl has cut.
ScriptLocation innermostLocation(const QString& trace, const QString& message, const QString& fileName);

/// The first line of the command that failed, as it stands in the script; empty when the trace tells none.
QString failedCommand(const QString& trace, const QString& message);

/// The procedures that the trace names, the innermost first, each as "NAME, line N" with the line counted from the
/// procedure's first.
QStringList procedures(const QString& trace, const QString& message);

}  // namespace quarn::detail
