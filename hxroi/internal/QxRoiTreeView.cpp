#include "hxroi/internal/QxRoiTreeView.h"

QxRoiTreeView::QxRoiTreeView(QWidget* parent) : QTreeView(parent) {}

QxRoiTreeView::~QxRoiTreeView() = default;

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
