#include "hxroi/internal/QxRoiTreeView.h"

#include <QAbstractItemDelegate>
#include <QCursor>
#include <QDrag>
#include <QHeaderView>
#include <QMimeData>
#include <QPainter>
#include <QPixmap>
#include <algorithm>
#include <utility>

#include "hxroi/internal/QxRoiTreeItem.h"

namespace {

constexpr int LEAST_NAME_WIDTH = 80;  // pixels

QxRoiTreeView::DragRunner& dragRunner() {
  static QxRoiTreeView::DragRunner runner;
  return runner;
}

}  // namespace

void QxRoiTreeView::setDragRunner(const DragRunner& runner) {
  dragRunner() = runner;
}

QxRoiTreeView::QxRoiTreeView(QWidget* parent) : QTreeView(parent) {}

QxRoiTreeView::~QxRoiTreeView() {
  if (drag_) QDrag::cancel();
}

/// Removed rows come to QTreeView by a slot that is not virtual; connected after it, we hear of them after it.
void QxRoiTreeView::setModel(QAbstractItemModel* next) {
  QTreeView::setModel(next);
  disconnect(removals_);
  if (next) removals_ = connect(next, &QAbstractItemModel::rowsRemoved, this, &QxRoiTreeView::viewRowsRemoved);
}

void QxRoiTreeView::dataChanged(const QModelIndex& topLeft, const QModelIndex& bottomRight, const QList<int>& roles) {
  QTreeView::dataChanged(topLeft, bottomRight, roles);
  Q_EMIT viewDataChanged(topLeft, bottomRight);
}

void QxRoiTreeView::rowsInserted(const QModelIndex& parent, int first, int last) {
  QTreeView::rowsInserted(parent, first, last);
  Q_EMIT viewRowsInserted(parent, first, last);
}

// --- Columns ------------------------------------------------------------------------------------------------------

int QxRoiTreeView::lastSizeHint() const {
  const int last = header()->count() - 1;
  return std::max(QTreeView::sizeHintForColumn(last), header()->sectionSizeHint(last));
}

int QxRoiTreeView::sizeHintForColumn(int column) const {
  const int hint = QTreeView::sizeHintForColumn(column);
  if (column != QxRoiTreeItem::kNameColumn || !isVisible()) return hint;
  int others = 0;
  for (int other = 0; other < header()->count(); ++other) {
    if (other == column || header()->isSectionHidden(other)) continue;
    others += std::max(QTreeView::sizeHintForColumn(other), header()->sectionSizeHint(other));
  }
  // A last column that stretches does not go below this.
  if (header()->stretchLastSection()) others += std::max(0, header()->defaultSectionSize() - lastSizeHint());
  return std::min(hint, std::max(LEAST_NAME_WIDTH, viewport()->width() - others));
}

void QxRoiTreeView::resizeEvent(QResizeEvent* event) {
  QTreeView::resizeEvent(event);
  const bool isCut = header()->count() > 0 && header()->length() > viewport()->width();
  if (isCut && header()->sectionResizeMode(QxRoiTreeItem::kNameColumn) == QHeaderView::Interactive)
    resizeColumnToContents(QxRoiTreeItem::kNameColumn);
}

// --- Dragging -----------------------------------------------------------------------------------------------------

/// The drag itself comes later: it runs events, which may end the view, and the caller goes on with the view.
void QxRoiTreeView::startDrag(Qt::DropActions actions) {
  if (drag_ || dragIsComing_) return;
  dragIsComing_ = true;
  QMetaObject::invokeMethod(
      this, [this, actions] { runDrag(actions); }, Qt::QueuedConnection);
}

/// Until then the mouse selects no further rows.
void QxRoiTreeView::mouseMoveEvent(QMouseEvent* event) {
  if (!dragIsComing_) QTreeView::mouseMoveEvent(event);
}

void QxRoiTreeView::mouseReleaseEvent(QMouseEvent* event) {
  dragIsComing_ = false;
  QTreeView::mouseReleaseEvent(event);
}

void QxRoiTreeView::runDrag(Qt::DropActions actions) {
  const bool isHeld = std::exchange(dragIsComing_, false);
  const QModelIndexList indexes = draggedIndexes();
  if (drag_ || !isHeld || indexes.isEmpty()) return;
  auto* drag = new QDrag(this);
  // It must not go with the view in the middle of its work.
  drag->setParent(nullptr);
  drag->setMimeData(model()->mimeData(indexes));
  const QRect place = placeOf(indexes);
  if (!place.isEmpty()) {
    drag->setPixmap(pictureOf(indexes, place));
    drag->setHotSpot(viewport()->mapFromGlobal(QCursor::pos()) - place.topLeft());
  }
  if (dragDropMode() == InternalMove) actions &= ~Qt::DropActions(Qt::CopyAction);
  drag_ = drag;
  if (!dragRunner()) {
    drag->exec(actions);
  } else {
    dragRunner()(*drag, actions);
    delete drag;
  }
}

QModelIndexList QxRoiTreeView::draggedIndexes() const {
  QModelIndexList indexes = selectedIndexes();
  indexes.removeIf([](const QModelIndex& index) { return !(index.flags() & Qt::ItemIsDragEnabled); });
  return indexes;
}

/// Of those that can be seen.
QRect QxRoiTreeView::placeOf(const QModelIndexList& indexes) const {
  QRect place;
  for (const QModelIndex& index : indexes) place |= visualRect(index) & viewport()->rect();
  return place;
}

QPixmap QxRoiTreeView::pictureOf(const QModelIndexList& indexes, const QRect& place) const {
  QPixmap picture(place.size() * devicePixelRatioF());
  picture.setDevicePixelRatio(devicePixelRatioF());
  picture.fill(Qt::transparent);
  QPainter painter(&picture);
  QStyleOptionViewItem option;
  initViewItemOption(&option);
  option.state |= QStyle::State_Selected;
  for (const QModelIndex& index : indexes) {
    if (!visualRect(index).intersects(place)) continue;
    option.rect = visualRect(index).translated(-place.topLeft());
    itemDelegateForIndex(index)->paint(&painter, option, index);
  }
  return picture;
}
