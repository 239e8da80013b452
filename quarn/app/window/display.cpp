#include "quarn/app/window/display.h"

#include "quarn/base/McException.h"
#include "quarn/kernel/widgets/QxApplication.h"

namespace quarn::app {
namespace {

using Mode = CommandLine::Mode;

bool leadsToWindow(const QStringList& words) {
  try {
    return withWindow(CommandLine::parse(words)).mode == Mode::Window;
  } catch (const McException&) {
    return false;  // said later, where everything wrong with a command line is
  }
}

}  // namespace

bool hasDisplay() {
  const bool named = !qEnvironmentVariableIsEmpty("DISPLAY") || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
  const QByteArray platform = qgetenv("QT_QPA_PLATFORM");
  return named && !platform.startsWith("offscreen") && !platform.startsWith("minimal");
}

CommandLine withWindow(CommandLine line) {
  if (line.mode == Mode::None && hasDisplay()) line.mode = Mode::Window;
  if (line.mode == Mode::Window && !hasDisplay() && qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
    throw McException("--window: there is no display (DISPLAY and WAYLAND_DISPLAY are not set)");
  return line;
}

std::unique_ptr<QCoreApplication> makeApplication(int& argc, char** argv) {
  QStringList words;
  for (int i = 1; i < argc; ++i) words.append(QString::fromLocal8Bit(argv[i]));
  if (leadsToWindow(words)) return std::make_unique<QxApplication>(argc, argv);
  return std::make_unique<QCoreApplication>(argc, argv);
}

}  // namespace quarn::app
