#include "quarn/app/Prompt.h"

#include <array>
#include <cerrno>
#include <poll.h>
#include <tcl.h>
#include <unistd.h>

#include "quarn/app/LineEditor.h"
#include "quarn/app/Session.h"
#include "quarn/app/report.h"
#include "quarn/kernel/app/HxInterrupt.h"
#include "quarn/kernel/app/HxMessage.h"
#include "quarn/kernel/io/HxRecovery.h"
#include "quarn/kernel/objects/unsavedData.h"
#include "quarn/kernel/script/HxInterpreter.h"

namespace quarn::app {
namespace {

/// Waits for input; false when a wish to stop came first.
bool waitForInput() {
  std::array<pollfd, 2> sources{pollfd{STDIN_FILENO, POLLIN, 0}, pollfd{HxInterrupt::descriptor(), POLLIN, 0}};
  for (;;) {
    HxRecovery& recovery = HxRecovery::instance();
    const int ready = poll(sources.data(), sources.size(), recovery.untilCheckpoint());
    if (ready > 0 || (ready < 0 && errno != EINTR)) break;
    recovery.checkpointIfDue();
  }
  return (sources[1].revents & POLLIN) == 0;
}

void forgetWishes() {
  HxInterrupt::drain();
  HxInterrupt::clear();
}

}  // namespace

Prompt::Prompt(const HxTerminalSink& terminal)
    : terminal_(terminal), isTerminal_(isatty(STDIN_FILENO) && isatty(STDOUT_FILENO)) {}

int Prompt::run() {
  HxInterpreter::instance().setArguments(QStringLiteral("quarn"), {});
  return isTerminal_ ? runOnTerminal() : runOnPipe();
}

int Prompt::runOnPipe() {
  QByteArray input;
  std::array<char, 65536> chunk{};
  while (!exitStatus_) {
    if (!waitForInput()) return Session::INTERRUPTED;
    const ssize_t length = read(STDIN_FILENO, chunk.data(), chunk.size());
    if (length < 0 && errno == EINTR) continue;
    if (length <= 0) break;
    input.append(chunk.data(), length);
    takeLinesOf(input);
  }
  if (!exitStatus_ && !input.isEmpty()) take(input);
  finish();
  return exitStatus_.value_or(failed_ ? Session::FAILURE : 0);
}

void Prompt::takeLinesOf(QByteArray& input) {
  qsizetype begin = 0;
  for (qsizetype end; !exitStatus_ && (end = input.indexOf('\n', begin)) >= 0; begin = end + 1)
    take(input.mid(begin, end - begin));
  input.remove(0, begin);
}

int Prompt::runOnTerminal() {
  LineEditor editor;
  while (!exitStatus_ && HxInterrupt::endSignal() == 0) {
    const LineEditor::Answer answer = editor.readLine(isInsideCommand() ? "> " : "quarn> ", waitForInput);
    forgetWishes();
    if (answer.ended) {
      if (mayLeave()) break;
    } else if (answer.cancelled) {
      command_.clear();
    } else {
      take(answer.line);
      forgetWishes();
    }
  }
  finish();
  return exitStatus_.value_or(0);
}

void Prompt::take(const QByteArray& line) {
  command_ += line + '\n';
  if (!Tcl_CommandComplete(command_.constData())) return;
  HxInterpreter& interpreter = HxInterpreter::instance();
  const QString command = QString::fromUtf8(std::exchange(command_, {}));
  const std::optional<HxScriptError> error = interpreter.evaluate(command);
  if (error && error->exitStatus) {
    if (mayLeave()) exitStatus_ = error->exitStatus;
    return;
  }
  isWarned_ = false;
  if (error) {
    failed_ = true;
    reportError(*error, terminal_);
    if (error->interrupted && !isTerminal_) exitStatus_ = Session::INTERRUPTED;
  } else if (const QString result = interpreter.result(); !result.isEmpty()) {
    HxMessage::printf("%s", result.toUtf8().constData());
  }
}

bool Prompt::mayLeave() {
  const QStringList unsaved = isTerminal_ ? unsavedData() : QStringList();
  if (unsaved.isEmpty() || isWarned_) return true;
  isWarned_ = true;
  printError(
      QStringLiteral("not saved: %1; save what is wanted, or leave once more").arg(unsaved.join(QStringLiteral(", "))));
  return false;
}

void Prompt::finish() {
  if (!isInsideCommand() || exitStatus_) return;
  failed_ = true;
  printError(QStringLiteral("the input ends inside a command"));
}

}  // namespace quarn::app
