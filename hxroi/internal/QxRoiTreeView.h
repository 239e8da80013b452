#pragma once

#include <QList>
#include <QTreeView>

#include "hxroi/export.h"

/// The tree of a ROI set. Tells in signals what it has taken from its model.
class HXROI_API QxRoiTreeView : public QTreeView {
  Q_OBJECT

public:
  explicit QxRoiTreeView(QWidget* parent = nullptr);
  ~QxRoiTreeView() override;

  void setModel(QAbstractItemModel* model) override;
  void dataChanged(const QModelIndex& topLeft, const QModelIndex& bottomRight, const QList<int>& roles = {}) override;

Q_SIGNALS:
  void viewDataChanged(const QModelIndex& topLeft, const QModelIndex& bottomRight);
  void viewRowsInserted(const QModelIndex& parent, int first, int last);
  void viewRowsRemoved(const QModelIndex& parent, int first, int last);

protected:
  void rowsInserted(const QModelIndex& parent, int first, int last) override;

private:
  QMetaObject::Connection removals_;
};
