#include "hxroi/internal/GoneRois.h"

#include <algorithm>

#include "hxroi/HxRois.h"
#include "hxroi/details/Group.h"
#include "hxroi/details/Mask.h"
#include "hxroi/internal/QxRoiTreeItem.h"
#include "hxroi/internal/QxRoiTreeModel.h"

namespace hxroi {

using details::Group;
using details::Mask;
using details::Roi;

namespace {

/// The row of a ROI; none when it is not in the tree.
QModelIndex rowOf(const QxRoiTreeModel& model, const Roi* roi) {
  const auto find = [&](const QxRoiTreeItem& parent, auto&& self) -> QModelIndex {
    for (QxRoiTreeItem* item : parent.children()) {
      if (item->getRoi() == roi) return model.indexFromTreeItem(item);
      if (const QModelIndex below = self(*item, self); below.isValid()) return below;
    }
    return {};
  };
  return find(*model.getRoot(), find);
}

}  // namespace

GoneRois::GoneRois(const HxRois& rois) {
  int row = 0;
  for (const auto& roi : rois) {
    const McHandle<Roi> handle(roi.get());
    note(handle, nullptr, row++);
    auto* const group = dynamic_cast<Group*>(roi.get());
    if (!group) continue;
    int memberRow = 0;
    for (Mask& member : *group) note(McHandle<Roi>(&member), handle, memberRow++);
  }
}

void GoneRois::note(const McHandle<Roi>& roi, const McHandle<Roi>& group, int row) {
  places_.push_back({roi, group, row, details::ColormapReference(roi->colormap(false))});
}

void GoneRois::keepGone(const HxRois& rois) {
  const GoneRois present(rois);
  std::erase_if(places_, [&](const Place& place) {
    return std::any_of(present.places_.begin(), present.places_.end(),
                       [&](const Place& other) { return other.roi == place.roi; });
  });
}

void GoneRois::bringBack(QxRoiTreeModel& model) {
  std::size_t back = 0;
  while (back < places_.size() && bringBack(model, places_[back])) ++back;
  places_.erase(places_.begin(), places_.begin() + static_cast<std::ptrdiff_t>(back));
}

bool GoneRois::bringBack(QxRoiTreeModel& model, const Place& place) {
  if (rowOf(model, place.roi).isValid()) return true;  // it came with its group
  // Its masks have places of their own.
  if (auto* const emptied = dynamic_cast<Group*>(place.roi.get()))
    while (emptied->size() > 0) emptied->removeMask(emptied->begin()->name());
  const QModelIndex group = place.group ? rowOf(model, place.group) : QModelIndex();
  const int row = std::min(place.row, model.rowCount(group));
  place.roi->setName(model.getUniqueName(place.roi->name()));
  const bool isBack = model.insertRoi(row, place.roi, group, true) != nullptr;
  if (isBack) place.roi->setColormap(place.colormap.get());
  return isBack;
}

}  // namespace hxroi
