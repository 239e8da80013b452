#include "quarn/kernel/app/HxTerminalSink.h"

#include <cstdio>
#include <sys/stat.h>
#include <unistd.h>

#include "quarn/kernel/app/HxProgress.h"

namespace {

void writeLine(std::FILE* stream, const std::string& text) {
  HxProgress::eraseShown();
  std::fwrite(text.data(), 1, text.size(), stream);
  if (!text.ends_with('\n')) std::fputc('\n', stream);
  std::fflush(stream);
}

void writeError(const char* kind, const QString& text) {
  writeLine(stderr, kind + text.toStdString());
}

}  // namespace

void HxTerminalSink::console(const std::string& text) {
  if (!quiet_) writeLine(stdout, text);
}

void HxTerminalSink::error(const QString& text) {
  writeError("error: ", text);
}
void HxTerminalSink::warning(const QString& text) {
  writeError("warning: ", text);
}

void HxTerminalSink::critical(const QString& title, const QString& text) {
  writeLine(stderr, (title + QStringLiteral(": ") + text).toStdString());
}

void HxTerminalSink::ioError(const QString& fileName) {
  writeError("error: cannot read or write ", fileName);
}

void HxTerminalSink::setQuiet(bool quiet) {
  quiet_ = quiet;
}
bool HxTerminalSink::isQuiet() const {
  return quiet_;
}

bool HxTerminalSink::showsConsoleBesideErrors() const {
  if (quiet_ || !isatty(STDOUT_FILENO) || !isatty(STDERR_FILENO)) return false;
  struct stat output {};
  struct stat errors {};
  return fstat(STDOUT_FILENO, &output) == 0 && fstat(STDERR_FILENO, &errors) == 0 && output.st_rdev == errors.st_rdev;
}
