#include "hxroi/internal/QxRoiTreeModel.h"

#include "hxroi/HxRois.h"
#include "hxroi/details/Group.h"
#include "hxroi/details/Mask.h"
#include "hxroi/details/Roi.h"
#include "hxroi/internal/QxRoiTreeItem.h"
#include "hxroi/internal/SetWatch.h"
#include "hxroi/internal/commandFailures.h"

using hxroi::SetWatch;
using hxroi::details::Group;
using hxroi::details::Mask;
using hxroi::details::Roi;

QxRoiTreeModel::QxRoiTreeModel(QObject* parent, RoiModule module) : QAbstractItemModel(parent), roiModule_(module) {}

QxRoiTreeModel::~QxRoiTreeModel() {
  SetWatch::end(watch_);
  delete root_;
}

// --- Building -----------------------------------------------------------------------------------------------------

void QxRoiTreeModel::setupModelData(HxRois* rois) {
  beginResetModel();
  watch(rois);
  rois_ = rois;
  delete root_;
  root_ = nullptr;
  buildTree();
  endResetModel();
}

void QxRoiTreeModel::buildTree() {
  root_ = createItem(rois_);
  if (!rois_) return;
  for (const McHandle<Roi>& roi : *rois_) {
    auto* group = dynamic_cast<Group*>(roi.get());
    if (!group && !dynamic_cast<Mask*>(roi.get())) continue;
    QxRoiTreeItem* item = createItem(roi, root_);
    if (group) {
      for (Mask& mask : *group) item->insertChild(item->childCount(), createItem(&mask, item), false);
    }
    root_->insertChild(root_->childCount(), item, false);
  }
}

void QxRoiTreeModel::watch(HxRois* rois) {
  if (rois == rois_) return;
  SetWatch::end(watch_);
  watch_ = nullptr;
  if (!rois) return;
  watch_ = new SetWatch(*rois, [this] {
    watch_ = nullptr;
    setupModelData(nullptr);
  });
}

QxRoiTreeItem* QxRoiTreeModel::createItem(HxRois* rois) {
  return new QxRoiTreeItem(rois, this);
}

QxRoiTreeItem* QxRoiTreeModel::createItem(Roi* roi, QxRoiTreeItem* parent) {
  return new QxRoiTreeItem(roi, parent, this);
}

void QxRoiTreeModel::configureInsertedRoi(QxRoiTreeItem* /*item*/) {}

// --- Nodes and indexes --------------------------------------------------------------------------------------------

bool QxRoiTreeModel::isRoiGroup(const QModelIndex& index) const {
  const QxRoiTreeItem* item = getItem(index);
  return item && item->isGroup();
}

bool QxRoiTreeModel::isRoiMask(const QModelIndex& index) const {
  const QxRoiTreeItem* item = getItem(index);
  return item && item->isMask();
}

bool QxRoiTreeModel::isRoiRoot(const QModelIndex& index) const {
  return getItem(index) == getRoot();
}

QxRoiTreeItem* QxRoiTreeModel::getRoot() const {
  return root_;
}

QxRoiTreeItem* QxRoiTreeModel::getItem(const QModelIndex& index) const {
  auto* item = index.isValid() ? static_cast<QxRoiTreeItem*>(index.internalPointer()) : nullptr;
  return item ? item : getRoot();
}

QModelIndex QxRoiTreeModel::index(int row, int column, const QModelIndex& parent) const {
  if (row < 0 || column < 0 || parent.column() > 0) return {};
  const QxRoiTreeItem* parentItem = getItem(parent);
  QxRoiTreeItem* item = parentItem ? parentItem->child(row) : nullptr;
  return item ? createIndex(row, column, item) : QModelIndex();
}

QModelIndex QxRoiTreeModel::parent(const QModelIndex& index) const {
  if (!index.isValid()) return {};
  return indexFromTreeItem(getItem(index)->parent());
}

/// Children stand below the first column alone, as views expect it.
int QxRoiTreeModel::rowCount(const QModelIndex& parent) const {
  const QxRoiTreeItem* item = getItem(parent);
  return item && parent.column() <= 0 ? item->childCount() : 0;
}

int QxRoiTreeModel::columnCount(const QModelIndex& parent) const {
  const QxRoiTreeItem* item = getItem(parent);
  return item ? item->columnCount() : QxRoiTreeItem::kColumnCount;
}

QModelIndex QxRoiTreeModel::indexFromTreeItem(const QxRoiTreeItem* item) const {
  if (!item || item == getRoot()) return {};
  const int row = item->childNumber();
  return row < 0 ? QModelIndex() : createIndex(row, 0, item);
}

// --- What views ask -----------------------------------------------------------------------------------------------

QVariant QxRoiTreeModel::data(const QModelIndex& index, int role) const {
  return index.isValid() ? getItem(index)->data(index.column(), role) : QVariant();
}

bool QxRoiTreeModel::setData(const QModelIndex& index, const QVariant& value, int role) {
  QxRoiTreeItem* item = getItem(index);
  if (!item) return false;
  bool isTaken = false;
  hxroi::showFailures([&] { isTaken = item->setData(index.column(), value, role); });
  if (isTaken) Q_EMIT dataChanged(index, index);
  return isTaken;
}

QVariant QxRoiTreeModel::headerData(int section, Qt::Orientation orientation, int role) const {
  const QxRoiTreeItem* root = getRoot();
  return root ? root->headerData(section, orientation, role) : QVariant();
}

Qt::ItemFlags QxRoiTreeModel::flags(const QModelIndex& index) const {
  // So that ROIs can be dropped between those of the top level.
  if (!index.isValid()) return Qt::ItemIsDropEnabled | Qt::ItemIsEnabled;
  return getItem(index)->flags(index.column());
}

Qt::DropActions QxRoiTreeModel::supportedDropActions() const {
  return Qt::CopyAction | Qt::MoveAction;
}
