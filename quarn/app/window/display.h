#pragma once

#include <QCoreApplication>
#include <memory>

#include "quarn/app/CommandLine.h"

namespace quarn::app {

/// Whether somebody looks: a display is named by the environment, and Qt was not told to draw nowhere.
bool hasDisplay();

/// The command line as it is meant: without another mode, where there is a display, the window. Throws McException when
/// the window is asked for and cannot be shown.
CommandLine withWindow(CommandLine line);

/// Qt's application object for the program's words: one with widgets when they lead to the window.
std::unique_ptr<QCoreApplication> makeApplication(int& argc, char** argv);

}  // namespace quarn::app
