#pragma once

#include <QList>
#include <QPointer>
#include <QTreeView>
#include <functional>

#include "hxroi/export.h"

class QDrag;
class QMimeData;

/// The tree of a ROI set. Tells in signals what it has taken from its model.
///
/// The view may be destroyed at any time, also while its rows are dragged: the drag is cancelled then.
class HXROI_API QxRoiTreeView : public QTreeView {
  Q_OBJECT

public:
  explicit QxRoiTreeView(QWidget* parent = nullptr);
  ~QxRoiTreeView() override;

  /// Runs a drag until the user lets go; replaced where there is no desktop to do so. An empty one puts that back.
  using DragRunner = std::function<void(QDrag& drag, Qt::DropActions actions)>;
  static void setDragRunner(const DragRunner& runner);

  void setModel(QAbstractItemModel* model) override;
  void dataChanged(const QModelIndex& topLeft, const QModelIndex& bottomRight, const QList<int>& roles = {}) override;

Q_SIGNALS:
  void viewDataChanged(const QModelIndex& topLeft, const QModelIndex& bottomRight);
  void viewRowsInserted(const QModelIndex& parent, int first, int last);
  void viewRowsRemoved(const QModelIndex& parent, int first, int last);

protected:
  void rowsInserted(const QModelIndex& parent, int first, int last) override;
  void startDrag(Qt::DropActions actions) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  /// Of the names no more than leaves the other columns in sight.
  int sizeHintForColumn(int column) const override;
  void resizeEvent(QResizeEvent* event) override;

private:
  int lastSizeHint() const;
  QModelIndexList draggedIndexes() const;
  QRect placeOf(const QModelIndexList& indexes) const;
  QPixmap pictureOf(const QModelIndexList& indexes, const QRect& place) const;
  void runDrag(Qt::DropActions actions);

  QMetaObject::Connection removals_;
  bool dragIsComing_ = false;
  QPointer<QDrag> drag_;
};
