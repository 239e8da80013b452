#include "hxroi/internal/ItemPlace.h"

#include <algorithm>
#include <exception>
#include <limits>
#include <string>

#include "hxroi/HxRois.h"
#include "hxroi/details/Group.h"
#include "hxroi/details/Mask.h"
#include "hxroi/details/logFailure.h"
#include "hxroi/internal/QxRoiTreeItem.h"
#include "quarn/base/McException.h"

namespace hxroi {

namespace {

using details::Group;
using details::Mask;
using details::Roi;

Group* groupOf(const QxRoiTreeItem& item) {
  return dynamic_cast<Group*>(item.getRoi());
}

Mask* maskOf(const QxRoiTreeItem& item) {
  return dynamic_cast<Mask*>(item.getRoi());
}

unsigned long placeFor(int position) {
  return position < 0 ? std::numeric_limits<unsigned long>::max() : static_cast<unsigned long>(position);
}

/// Who has that name in the set or group of `parent`.
const Roi* namedIn(const QxRoiTreeItem& parent, const std::string& name) {
  if (const HxRois* rois = parent.getRois()) return rois->getRoi(name);
  Group* group = groupOf(parent);
  if (!group) return nullptr;
  for (const Mask& mask : *group) {
    if (mask.name() == name) return &mask;
  }
  return nullptr;
}

/// Right below `parent`, in the set too.
bool standsIn(const QxRoiTreeItem& parent, const QxRoiTreeItem& child) {
  if (const HxRois* rois = parent.getRois()) {
    return std::any_of(rois->begin(), rois->end(), [&](const auto& roi) { return roi == child.getRoi(); });
  }
  Group* group = groupOf(parent);
  return group && std::any_of(group->begin(), group->end(), [&](const Mask& mask) { return &mask == child.getRoi(); });
}

void putBack(const QxRoiTreeItem& source, int from, const QxRoiTreeItem& child) noexcept {
  try {
    enterPlace(source, from, child);
  } catch (const std::exception& failure) {
    details::logFailure("A refused move of a ROI could not be undone", failure.what());
  }
}

}  // namespace

bool canStandIn(const QxRoiTreeItem& parent, const QxRoiTreeItem& child) {
  if (parent.getRois()) return child.isMask() || child.isGroup();
  return parent.isGroup() && child.isMask();
}

void enterPlace(const QxRoiTreeItem& parent, int position, const QxRoiTreeItem& child) {
  if (HxRois* rois = parent.getRois()) {
    rois->insertRoi(child.getRoi(), placeFor(position));
  } else {
    groupOf(parent)->insertMask(maskOf(child), placeFor(position));
  }
}

void checkIdentity(const QxRoiTreeItem& parent, const QxRoiTreeItem& child) {
  const Roi* there = child.getRoi() ? namedIn(parent, child.getRoi()->name()) : nullptr;
  if (!there || there == child.getRoi()) return;
  throw McException("The roi named " + McException::excerpt(there->name()) + " inside " +
                    McException::excerpt(parent.getName().toUtf8().toStdString()) + " is not the one of the tree.");
}

void checkPlace(const QxRoiTreeItem& parent, const QxRoiTreeItem& child) {
  checkIdentity(parent, child);
  if (standsIn(parent, child)) return;
  throw McException("The roi named " + McException::excerpt(child.getName().toUtf8().toStdString()) +
                    " does not stand in " + McException::excerpt(parent.getName().toUtf8().toStdString()) +
                    " any more.");
}

void leavePlace(const QxRoiTreeItem& parent, const QxRoiTreeItem& child) {
  const std::string name = child.getRoi()->name();
  checkIdentity(parent, child);
  if (HxRois* rois = parent.getRois()) {
    rois->removeRoi(name);
  } else {
    groupOf(parent)->removeMask(name);
  }
}

void changePlace(const QxRoiTreeItem& source, int from, const QxRoiTreeItem& destination, int to,
                 const QxRoiTreeItem& child) {
  Roi* roi = child.getRoi();
  const HxColormap* colormap = roi->colormap(false);
  leavePlace(source, child);
  try {
    enterPlace(destination, to, child);
  } catch (...) {
    putBack(source, from, child);
    roi->setColormap(colormap);
    throw;
  }
  roi->setColormap(colormap);
}

}  // namespace hxroi
