#pragma once

#include <QItemSelection>
#include <QModelIndex>
#include <QObject>
#include <QPoint>

#include "hxroi/export.h"

class HxPortRoiTreeView;

/// Receives signals for a port, which is no QObject.
class HXROI_API QxPortRoiTreeViewNotifier : public QObject {
  Q_OBJECT

public:
  /// `port` is not owned and outlives the notifier.
  explicit QxPortRoiTreeViewNotifier(HxPortRoiTreeView* port);
  ~QxPortRoiTreeViewNotifier() override;

public Q_SLOTS:
  void dataChanged(const QModelIndex& topLeft, const QModelIndex& bottomRight);
  void selectionChanged(const QItemSelection& selected, const QItemSelection& deselected);
  void customContextMenuRequested(const QPoint& position);

private:
  HxPortRoiTreeView* port_;
};
