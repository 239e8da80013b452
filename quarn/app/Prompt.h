#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

#include "quarn/kernel/app/HxTerminalSink.h"

namespace quarn::app {

/// Reads commands from standard input and runs each as soon as it is whole: on a terminal with editing, history and
/// completion, from a pipe line by line. Errors are shown, and reading goes on. One at a time.
class Prompt {
public:
  explicit Prompt(const HxTerminalSink& terminal);

  /// Returns the status given to `exit`, else at the end of the input 0, or 1 when it is no terminal and a command of
  /// it failed: all commands of a file run, whichever fail. Ctrl-C ends the running command on a terminal, and
  /// everything, with 130, on a pipe. On a terminal the first wish to leave is answered with what is not saved.
  int run();

private:
  int runOnPipe();
  int runOnTerminal();
  /// Takes a line; runs the command once it is whole.
  void take(const QByteArray& line);
  void takeLinesOf(QByteArray& input);
  /// At the end of the input: an unfinished command is an error.
  void finish();
  /// False, with a message, when unsaved work would go; true when the user wants to leave all the same, right after.
  bool mayLeave();
  bool isInsideCommand() const { return !command_.isEmpty(); }

  const HxTerminalSink& terminal_;
  const bool isTerminal_;
  QByteArray command_;  ///< the lines of a command that is not whole yet
  bool failed_ = false;
  bool isWarned_ = false;  ///< the last thing said was that something is not saved
  std::optional<int> exitStatus_;
};

}  // namespace quarn::app
