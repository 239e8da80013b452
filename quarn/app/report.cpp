#include "quarn/app/report.h"

#include <cstdio>

#include "quarn/kernel/app/HxProgress.h"

namespace quarn::app {

void printOut(const QString& text) {
  std::printf("%s\n", text.toUtf8().constData());
}

void printError(const QString& text) {
  HxProgress::eraseShown();
  std::fprintf(stderr, "%s\n", text.toUtf8().constData());
}

void reportError(const HxScriptError& error, const HxTerminalSink& terminal) {
  if (!error.shown || !terminal.showsConsoleBesideErrors()) return printError(error.toText());
  if (error.file.isEmpty()) return;
  HxScriptError place = error;
  place.message = QStringLiteral("the script ends here");
  printError(place.toText());
}

}  // namespace quarn::app
