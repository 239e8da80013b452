#pragma once

#include <QPlainTextEdit>
#include <QWidget>

#include "quarn/app/window/CommandEdit.h"

namespace quarn::app {

/// What the program says, and a line for commands below it. Long logs lose their beginning.
class ConsolePane : public QWidget {
  Q_OBJECT

public:
  explicit ConsolePane(QWidget* parent = nullptr);

  /// Appends a text as it is; a final line end counts as the end of the entry.
  void append(const QString& text);
  /// Runs a command as if it had been typed; a command that is not complete waits for its next line.
  void run(const QString& line);
  QString log() const { return log_->toPlainText(); }

Q_SIGNALS:
  /// A command asked the program to end.
  void exitRequested(int status);
  /// A command was run, well or not.
  void commandRun();

private:
  void evaluate(const QString& command);

  QPlainTextEdit* log_;
  CommandEdit* edit_;
  QString begun_;  ///< lines of a command that is not complete
};

}  // namespace quarn::app
