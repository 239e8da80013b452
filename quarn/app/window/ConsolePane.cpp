#include "quarn/app/window/ConsolePane.h"

#include <QFontDatabase>
#include <QVBoxLayout>
#include <utility>

#include "quarn/kernel/app/HxInterrupt.h"
#include "quarn/kernel/app/HxMessage.h"
#include "quarn/kernel/script/HxInterpreter.h"

namespace quarn::app {

constexpr int LONGEST_LOG = 10000;  // lines

ConsolePane::ConsolePane(QWidget* parent)
    : QWidget(parent), log_(new QPlainTextEdit(this)), edit_(new CommandEdit(this)) {
  const QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
  log_->setFont(font);
  log_->setReadOnly(true);
  log_->setMaximumBlockCount(LONGEST_LOG);
  edit_->setFont(font);
  edit_->setPlaceholderText(tr("Command (Tab completes, help lists them)"));
  auto* column = new QVBoxLayout(this);
  column->setContentsMargins(0, 0, 0, 0);
  column->setSpacing(2);
  column->addWidget(log_);
  column->addWidget(edit_);
  setFocusProxy(edit_);
  connect(edit_, &CommandEdit::entered, this, &ConsolePane::run);
  connect(edit_, &CommandEdit::choices, this,
          [this](const QStringList& words) { append(words.join(QStringLiteral("  "))); });
}

void ConsolePane::append(const QString& text) {
  log_->appendPlainText(text.endsWith(QLatin1Char('\n')) ? text.chopped(1) : text);
}

void ConsolePane::run(const QString& line) {
  append(QStringLiteral("> ") + line);
  begun_ += line + QLatin1Char('\n');
  if (Tcl_CommandComplete(begun_.toUtf8().constData())) evaluate(std::exchange(begun_, {}));
}

void ConsolePane::evaluate(const QString& command) {
  HxInterpreter& interpreter = HxInterpreter::instance();
  const std::optional<HxScriptError> error = interpreter.evaluate(command);
  HxInterrupt::clear();
  if (error && error->exitStatus) {
    Q_EMIT exitRequested(*error->exitStatus);
  } else if (error && !error->shown) {
    append(error->toText());
  } else if (const QString result = interpreter.result(); !error && !result.isEmpty()) {
    append(result);
  }
  Q_EMIT commandRun();
}

}  // namespace quarn::app
