#include "hxroi/internal/QxRoiTreeModelProxy.h"

#include "hxroi/internal/QxRoiTreeItem.h"

QxRoiTreeModelProxy::QxRoiTreeModelProxy(QxRoiTreeModel* source, QObject* parent)
    : QxRoiTreeModel(parent, FULL_MODULE), source_(source) {
  connect(source, &QAbstractItemModel::dataChanged, this,
          [this](const QModelIndex& topLeft, const QModelIndex& bottomRight, const QList<int>& roles) {
            Q_EMIT dataChanged(mapped(topLeft), mapped(bottomRight), roles);
          });
  followRows();
  connect(source, &QObject::destroyed, this, [this] {
    source_ = nullptr;
    beginResetModel();
    endResetModel();
  });
}

QxRoiTreeModelProxy::~QxRoiTreeModelProxy() = default;

/// Views of this model hear of it when nodes of the source come and go.
void QxRoiTreeModelProxy::followRows() {
  connect(source_, &QAbstractItemModel::modelAboutToBeReset, this, [this] { beginResetModel(); });
  connect(source_, &QAbstractItemModel::modelReset, this, [this] { endResetModel(); });
  connect(source_, &QAbstractItemModel::rowsAboutToBeInserted, this,
          [this](const QModelIndex& parent, int first, int last) { beginInsertRows(mapped(parent), first, last); });
  connect(source_, &QAbstractItemModel::rowsInserted, this, [this] { endInsertRows(); });
  connect(source_, &QAbstractItemModel::rowsAboutToBeRemoved, this,
          [this](const QModelIndex& parent, int first, int last) { beginRemoveRows(mapped(parent), first, last); });
  connect(source_, &QAbstractItemModel::rowsRemoved, this, [this] { endRemoveRows(); });
}

/// The nodes are the same.
QModelIndex QxRoiTreeModelProxy::mapped(const QModelIndex& index) const {
  return index.isValid() ? createIndex(index.row(), index.column(), index.internalPointer()) : QModelIndex();
}

void QxRoiTreeModelProxy::setupModelData(HxRois* rois) {
  if (source_) source_->setupModelData(rois);
}

bool QxRoiTreeModelProxy::isRoiGroup(const QModelIndex& index) const {
  return source_ && source_->isRoiGroup(index);
}

bool QxRoiTreeModelProxy::isRoiMask(const QModelIndex& index) const {
  return source_ && source_->isRoiMask(index);
}

bool QxRoiTreeModelProxy::isRoiRoot(const QModelIndex& index) const {
  return source_ && source_->isRoiRoot(index);
}

bool QxRoiTreeModelProxy::isRoiVisible(const QString& nameOrId, bool checkParent) const {
  return source_ && source_->isRoiVisible(nameOrId, checkParent);
}

void QxRoiTreeModelProxy::setRoiVisible(bool visible, const QString& nameOrId) const {
  if (source_) source_->setRoiVisible(visible, nameOrId);
}

QxRoiTreeItem* QxRoiTreeModelProxy::getRoot() const {
  return source_ ? source_->getRoot() : nullptr;
}

QxRoiTreeItem* QxRoiTreeModelProxy::getItem(const QModelIndex& index) const {
  return source_ ? source_->getItem(index) : nullptr;
}

QxRoiTreeItem* QxRoiTreeModelProxy::createItem(HxRois* rois) {
  return source_ ? source_->createItem(rois) : nullptr;
}

QxRoiTreeItem* QxRoiTreeModelProxy::createItem(hxroi::details::Roi* roi, QxRoiTreeItem* parent) {
  return source_ ? source_->createItem(roi, parent) : nullptr;
}
