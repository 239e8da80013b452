#include "quarn/kernel/widgets/detail/CellsView.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QKeyEvent>
#include <algorithm>

namespace quarn::detail {

void CellsView::keyPressEvent(QKeyEvent* event) {
  if (!event->matches(QKeySequence::Copy)) return QTableView::keyPressEvent(event);
  QGuiApplication::clipboard()->setText(selectedText());
  event->accept();
}

QString CellsView::selectedText() const {
  QModelIndexList cells = selectedIndexes();
  std::sort(cells.begin(), cells.end());
  QString text;
  for (qsizetype i = 0; i < cells.size(); ++i) {
    if (i > 0) text += cells[i].row() == cells[i - 1].row() ? QLatin1Char('\t') : QLatin1Char('\n');
    text += cells[i].data().toString();
  }
  return text;
}

}  // namespace quarn::detail
