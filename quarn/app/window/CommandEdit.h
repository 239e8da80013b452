#pragma once

#include <QLineEdit>
#include <QStringList>

namespace quarn::app {

/// One line for commands, with a history on the arrow keys and completion on Tab, as at the prompt of a terminal.
class CommandEdit : public QLineEdit {
  Q_OBJECT

public:
  explicit CommandEdit(QWidget* parent = nullptr);

Q_SIGNALS:
  /// A line was entered; the field is empty again.
  void entered(const QString& line);
  /// Tab could mean several words.
  void choices(const QStringList& words);

protected:
  bool event(QEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;

private:
  void enter();
  void walkHistory(int step);
  void complete();

  QStringList history_;
  qsizetype place_ = 0;  ///< in the history; its size is the line being typed
  QString typed_;
};

}  // namespace quarn::app
