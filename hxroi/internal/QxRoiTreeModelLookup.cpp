#include "hxroi/HxRois.h"
#include "hxroi/internal/QxRoiTreeItem.h"
#include "hxroi/internal/QxRoiTreeModel.h"

namespace {

/// The first node that `matches`: a top-level one, or one of its children when it is a group.
template <class Matches>
QxRoiTreeItem* findItem(const QxRoiTreeItem* root, Matches matches) {
  if (!root) return nullptr;
  for (QxRoiTreeItem* item : root->children()) {
    if (matches(*item)) return item;
    if (!item->isGroup()) continue;
    for (QxRoiTreeItem* child : item->children()) {
      if (matches(*child)) return child;
    }
  }
  return nullptr;
}

QxRoiTreeItem* findByNameOrId(const QxRoiTreeItem* root, const QString& nameOrId) {
  return findItem(root, [&](const QxRoiTreeItem& item) {
    return item.getName() == nameOrId || (item.getRoi() && item.getId() == nameOrId);
  });
}

}  // namespace

QxRoiTreeItem* QxRoiTreeModel::treeItemFromRoi(const hxroi::details::Roi* roi) const {
  return findItem(getRoot(), [roi](const QxRoiTreeItem& item) { return item.getRoi() == roi; });
}

QxRoiTreeItem* QxRoiTreeModel::treeItemFromName(const QString& name) const {
  return findItem(getRoot(), [&name](const QxRoiTreeItem& item) { return item.getName() == name; });
}

QModelIndex QxRoiTreeModel::indexFromName(const QString& name) const {
  return indexFromTreeItem(treeItemFromName(name));
}

// --- Free names ---------------------------------------------------------------------------------------------------

std::string QxRoiTreeModel::getUniqueName(const std::string& name) const {
  const HxRois* rois = getRoot() ? getRoot()->getRois() : nullptr;
  return rois ? rois->getUniqueName(name) : name;
}

std::string QxRoiTreeModel::getAvailableMaskName() const {
  return getUniqueName("ROI0");
}

std::string QxRoiTreeModel::getAvailableGroupName() const {
  return getUniqueName("Group0");
}

QStringList QxRoiTreeModel::roiNames() const {
  QStringList names;
  findItem(getRoot(), [&names](const QxRoiTreeItem& item) {
    names.append(item.getName());
    return false;
  });
  return names;
}

// --- Visibility ---------------------------------------------------------------------------------------------------

bool QxRoiTreeModel::isRoiVisible(const QString& nameOrId, bool checkParent) const {
  const QxRoiTreeItem* item = findByNameOrId(getRoot(), nameOrId);
  return item && item->isVisible(checkParent);
}

void QxRoiTreeModel::setRoiVisible(bool visible, const QString& nameOrId) const {
  if (QxRoiTreeItem* item = findByNameOrId(getRoot(), nameOrId)) item->setVisible(visible);
}

void QxRoiTreeModel::setAllRoisVisible(bool visible) {
  const QxRoiTreeItem* root = getRoot();
  if (!root) return;
  for (const QxRoiTreeItem* item : root->children()) {
    setRoiVisible(visible, item->getName());
    if (!item->isGroup()) continue;
    for (const QxRoiTreeItem* child : item->children()) setRoiVisible(visible, child->getName());
  }
}
