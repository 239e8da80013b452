#pragma once

#include "hxroi/export.h"
#include "hxroi/internal/QxRoiTreeModel.h"

/// The tree of another model, seen through a second one, of the kind FULL_MODULE.
class HXROI_API QxRoiTreeModelProxy : public QxRoiTreeModel {
  Q_OBJECT

public:
  /// `source` is not owned; once it has gone the proxy is empty.
  explicit QxRoiTreeModelProxy(QxRoiTreeModel* source, QObject* parent = nullptr);
  ~QxRoiTreeModelProxy() override;

  void setupModelData(HxRois* rois) override;
  bool isRoiGroup(const QModelIndex& index) const override;
  bool isRoiMask(const QModelIndex& index) const override;
  bool isRoiRoot(const QModelIndex& index) const override;
  bool isRoiVisible(const QString& nameOrId, bool checkParent) const override;
  void setRoiVisible(bool visible, const QString& nameOrId) const override;
  QxRoiTreeItem* getRoot() const override;
  QxRoiTreeItem* getItem(const QModelIndex& index) const override;
  QxRoiTreeItem* createItem(HxRois* rois) override;
  QxRoiTreeItem* createItem(hxroi::details::Roi* roi, QxRoiTreeItem* parent) override;

private:
  QModelIndex mapped(const QModelIndex& index) const;
  void followRows();

  QxRoiTreeModel* source_;
};
