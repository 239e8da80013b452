#include "hxroi/internal/SynchronizerRun.h"

#include <vector>

#include "hxroi/HxRois.h"
#include "hxroi/details/Group.h"
#include "hxroi/details/Mask.h"
#include "hxroi/internal/QxRoiTreeItem.h"
#include "hxroi/internal/QxRoiTreeModel.h"

namespace hxroi {

using details::Group;
using details::Mask;
using details::Roi;

SynchronizerRun::~SynchronizerRun() {
  qDeleteAll(detached_);
}

void SynchronizerRun::removeDeparted() {
  nameDeparted();
  findDeparted();
  for (QxRoiTreeItem* item : std::as_const(detached_)) model_.detachItem(item);
  for (QxRoiTreeItem* item : std::as_const(departed_)) {
    const int row = item->childNumber();
    delete model_.removeRoi(row, model_.indexFromTreeItem(item->parent()), false);
  }
}

void SynchronizerRun::nameDeparted() {
  for (const auto& [roi, known] : formerNames_) {
    if (!rois_.containsRoi(roi) || roi->id() != known.id) results_.removedNames.append(known.name);
  }
}

void SynchronizerRun::findDeparted() {
  for (QxRoiTreeItem* item : model_.getRoot()->children()) {
    const bool hasLeft = !rois_.containsRoi(item->getRoi());
    for (QxRoiTreeItem* child : item->children()) {
      if (!rois_.containsRoi(child->getRoi())) {
        child->clearRoi();
        departed_.append(child);
      } else if (hasLeft) {
        detached_.append(child);
      }
    }
    if (!hasLeft) continue;
    item->clearRoi();
    departed_.append(item);
  }
}

SynchronizerRun::KnownNames SynchronizerRun::placeAll() {
  int row = 0;
  // As it is now, since views may do anything when rows come and go.
  const HxRois::RoiList rois(rois_.begin(), rois_.end());
  for (const auto& roi : rois) {
    place(row++, *roi, *model_.getRoot());
    if (auto* group = dynamic_cast<Group*>(roi.get())) placeMembers(*group);
  }
  return std::move(names_);
}

void SynchronizerRun::placeMembers(Group& group) {
  std::vector<McHandle<Mask>> masks;
  for (Mask& mask : group) masks.emplace_back(&mask);
  int row = 0;
  for (const auto& mask : masks) {
    QxRoiTreeItem* item = model_.treeItemFromRoi(&group);
    if (item) place(row++, *mask, *item);
  }
}

void SynchronizerRun::place(int row, Roi& roi, QxRoiTreeItem& parent) {
  const QxRoiTreeItem* there = parent.child(row);
  if (!there || there->getRoi() != &roi) {
    QxRoiTreeItem* item = model_.treeItemFromRoi(&roi);
    if (item) {
      model_.removeRoi(item->childNumber(), model_.indexFromTreeItem(item->parent()), false);
    } else {
      item = results_.searchRoiInList(&roi, detached_);
      detached_.removeOne(item);
    }
    const QModelIndex parentIndex = model_.indexFromTreeItem(&parent);
    if (item) {
      model_.insertTreeItem(row, item, parentIndex, false);
      results_.movedNames.append(roi.name());
    } else {
      model_.insertRoi(row, &roi, parentIndex, false);
      results_.insertedNames.append(roi.name());
    }
  }
  checkName(roi);
}

void SynchronizerRun::checkName(const Roi& roi) {
  const std::string name = roi.name();
  const auto former = formerNames_.find(&roi);
  if (former != formerNames_.end() && former->second.id == roi.id() && former->second.name != name) {
    results_.nameChanges.append({former->second.name, name});
  }
  names_[&roi] = {name, roi.id()};
}

}  // namespace hxroi
