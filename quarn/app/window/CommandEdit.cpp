#include "quarn/app/window/CommandEdit.h"

#include <QKeyEvent>
#include <QRegularExpression>
#include <algorithm>

#include "quarn/app/completions.h"

namespace quarn::app {
namespace {

/// What all words have in common at their beginning; empty without words.
QString commonPrefix(const QStringList& words) {
  if (words.isEmpty()) return {};
  QString prefix = words.front();
  for (const QString& word : words)
    while (!word.startsWith(prefix)) prefix.chop(1);
  return prefix;
}

}  // namespace

CommandEdit::CommandEdit(QWidget* parent) : QLineEdit(parent) {
  connect(this, &QLineEdit::returnPressed, this, &CommandEdit::enter);
}

bool CommandEdit::event(QEvent* event) {
  // Tab would otherwise move the focus before keyPressEvent() sees it.
  if (event->type() == QEvent::KeyPress && static_cast<QKeyEvent*>(event)->key() == Qt::Key_Tab) {
    complete();
    return true;
  }
  return QLineEdit::event(event);
}

void CommandEdit::keyPressEvent(QKeyEvent* event) {
  if (event->key() == Qt::Key_Up) return walkHistory(-1);
  if (event->key() == Qt::Key_Down) return walkHistory(1);
  QLineEdit::keyPressEvent(event);
}

void CommandEdit::enter() {
  const QString line = text();
  clear();
  if (!line.trimmed().isEmpty() && (history_.isEmpty() || history_.back() != line)) history_.append(line);
  place_ = history_.size();
  typed_.clear();
  Q_EMIT entered(line);
}

void CommandEdit::walkHistory(int step) {
  const qsizetype next = std::clamp<qsizetype>(place_ + step, 0, history_.size());
  if (next == place_) return;
  if (place_ == history_.size()) typed_ = text();
  place_ = next;
  setText(place_ == history_.size() ? typed_ : history_[place_]);
}

void CommandEdit::complete() {
  const QString before = text().left(cursorPosition());
  const bool isQuoted = readTypedLine(before.toUtf8()).isQuoted;
  const QString breaks = isQuoted ? QStringLiteral("\"") : QStringLiteral("[\\s\\[{;]");
  const qsizetype begin = before.lastIndexOf(QRegularExpression(breaks)) + 1;
  const QString begun = before.mid(begin);
  QStringList fitting;
  for (const QByteArray& word : completions(readTypedLine(before.left(begin).toUtf8()), begun.toUtf8()))
    fitting.append(QString::fromUtf8(word));
  if (fitting.isEmpty()) return;
  fitting.sort();
  // Nothing in common: some are quoted, others not.
  if (const QString common = commonPrefix(fitting); !common.isEmpty()) {
    setSelection(static_cast<int>(begin), static_cast<int>(begun.size()));
    insert(common);
  }
  if (fitting.size() == 1) insert(isQuoted ? QStringLiteral("\" ") : QStringLiteral(" "));
  if (fitting.size() > 1) Q_EMIT choices(fitting);
}

}  // namespace quarn::app
