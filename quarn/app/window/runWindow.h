#pragma once

#include <QStringList>

namespace quarn::app {

/// Shows the window with the files loaded, until the user closes it, a command asks for the end, or a signal does.
/// Needs a QApplication. Returns the exit status.
int runWindow(const QStringList& files);

}  // namespace quarn::app
