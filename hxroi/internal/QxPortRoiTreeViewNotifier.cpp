#include "hxroi/internal/QxPortRoiTreeViewNotifier.h"

#include "hxroi/HxPortRoiTreeView.h"

QxPortRoiTreeViewNotifier::QxPortRoiTreeViewNotifier(HxPortRoiTreeView* port) : port_(port) {}

QxPortRoiTreeViewNotifier::~QxPortRoiTreeViewNotifier() = default;

void QxPortRoiTreeViewNotifier::dataChanged(const QModelIndex& topLeft, const QModelIndex& bottomRight) {
  port_->dataChanged(topLeft, bottomRight);
}

void QxPortRoiTreeViewNotifier::selectionChanged(const QItemSelection& selected, const QItemSelection& deselected) {
  port_->selectionChanged(selected, deselected);
}

void QxPortRoiTreeViewNotifier::customContextMenuRequested(const QPoint& position) {
  port_->customContextMenuRequested(position);
}
