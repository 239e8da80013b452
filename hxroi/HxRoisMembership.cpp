#include <QCoreApplication>
#include <algorithm>
#include <utility>

#include "hxroi/HxRoiToHxVolumeDataRegistry.h"
#include "hxroi/HxRois.h"
#include "hxroi/HxRoisColorInformation.h"
#include "hxroi/details/Group.h"
#include "hxroi/details/Mask.h"
#include "hxroi/details/Roi.h"
#include "quarn/base/McException.h"
#include "quarn/base/mcinterface_cast.h"
#include "quarn/kernel/HxException.h"
#include "quarn/kernel/fields/HxUniformScalarField3.h"
#include "quarn/kernel/objects/hxconnection_cast.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"

using hxroi::details::Group;
using hxroi::details::Mask;
using hxroi::details::Roi;

namespace {

QString tr(const char* text) {
  return QCoreApplication::translate("HxRois", text);
}

McException alreadyInserted(const std::string& name, const QString& label) {
  return hxException(
      tr("A roi named %1 has already been inserted inside this HxRois (%2).").arg(QString::fromLatin1(name), label));
}

McException neverInserted(const std::string& name, const QString& label) {
  return hxException(
      tr("No roi named %1 has been inserted inside this HxRois (%2).").arg(QString::fromLatin1(name), label));
}

}  // namespace

// --- Looking up ---------------------------------------------------------------------------------------------------

Roi* HxRois::getRoi(const std::string& name) const {
  const auto found = index_.find(name);
  return found == index_.end() ? nullptr : found->second;
}

Mask* HxRois::getMask(const std::string& name) const {
  return dynamic_cast<Mask*>(getRoi(name));
}

Group* HxRois::getGroup(const std::string& name) const {
  return dynamic_cast<Group*>(getRoi(name));
}

bool HxRois::containsRoi(const Roi* roi) const {
  return std::any_of(index_.begin(), index_.end(), [roi](const auto& entry) { return entry.second == roi; });
}

const McVec3i& HxRois::dimensions() const {
  if (!dimensions_) throw hxException(tr("Can not query rois dimensions with no mask."));
  return *dimensions_;
}

std::vector<Mask*> HxRois::editableMasks() const {
  std::vector<Mask*> masks;
  for (const RoiHandle& roi : rois_) {
    if (auto* mask = dynamic_cast<Mask*>(roi.get())) masks.push_back(mask);
    if (auto* group = dynamic_cast<Group*>(roi.get())) {
      for (Mask& member : *group) masks.push_back(&member);
    }
  }
  return masks;
}

/// By the name that the set knows or, when there is none, by the ROI's own.
HxRois::Index::const_iterator HxRois::findIndexed(const std::string& name) const {
  const auto found = index_.find(name);
  if (found != index_.end()) return found;
  return std::find_if(index_.begin(), index_.end(),
                      [&name](const auto& entry) { return entry.second->name() == name; });
}

const std::string& HxRois::indexedName(const Roi& roi) const {
  const auto found =
      std::find_if(index_.begin(), index_.end(), [&roi](const auto& entry) { return entry.second == &roi; });
  if (found == index_.end()) throw neverInserted(roi.name(), getLabel());
  return found->first;
}

HxRois::RoiList::const_iterator HxRois::findTopLevel(const std::string& name) const {
  const auto indexed = findIndexed(name);
  if (indexed == index_.end()) return rois_.end();
  return std::find(rois_.begin(), rois_.end(), indexed->second);
}

// --- The rules of the set -----------------------------------------------------------------------------------------

void HxRois::checkNameIsFree(const std::string& name) const {
  if (index_.contains(name)) throw alreadyInserted(name, getLabel());
}

/// The members of a group enter before its own name does, so a member with the group's name must be found beforehand.
void HxRois::checkGroupNames(const Group& group) const {
  const std::string name = group.name();
  for (const Mask& member : group) {
    if (member.name() == name) throw alreadyInserted(name, getLabel());
  }
}

void HxRois::checkMaskFits(const Mask& mask) const {
  if (masks_.size() == kMaximumNumberOfMasks) {
    throw hxException(
        QCoreApplication::translate("Mask", "There is already %1 masks inside %2. No more mask can be inserted.")
            .arg(QString::number(kMaximumNumberOfMasks), getLabel()));
  }
  if (!dimensions_) {
    if (const auto* field = hxconnection_cast<HxUniformScalarField3>(portData)) mask.ensureCompatibleWith(*field);
    return;
  }
  const McVec3i& mine = *dimensions_;
  const McVec3i& theirs = mask.dimensions();
  if (theirs != mine) {
    throw hxException(tr("Mask %1 dimensions (%2, %3, %4) does not match other rois dimensions (%5, %6, %7).")
                          .arg(QString::fromLatin1(mask.name()), QString::number(theirs.x), QString::number(theirs.y),
                               QString::number(theirs.z), QString::number(mine.x), QString::number(mine.y),
                               QString::number(mine.z)));
  }
  masks_.front()->ensureCompatibleWith(mask);
}

void HxRois::enterMask(const Mask* mask) {
  masks_.push_back(mask);
  dimensions_ = mask->dimensions();
}

void HxRois::leaveMask(const Mask* mask) {
  masks_.remove(mask);
  if (masks_.empty()) dimensions_.reset();
}

/// The registry lets go of a mask while somebody still holds it.
void HxRois::masksChanged() {
  if (isRegistered_) HxRoiToHxVolumeDataRegistry::updateHxRois(this);
}

// --- What ROIs and groups tell the set ----------------------------------------------------------------------------

void HxRois::notifyRoiAdd(Roi* roi) {
  const std::string name = roi->name();
  checkNameIsFree(name);
  auto* mask = dynamic_cast<Mask*>(roi);
  if (const auto* group = dynamic_cast<const Group*>(roi)) checkGroupNames(*group);
  if (mask) {
    checkMaskFits(*mask);
    enterMask(mask);
  }
  Index entry{{name, roi}};
  try {
    roi->notifyAddedToHxRois(this);
  } catch (...) {
    if (mask) leaveMask(mask);
    throw;
  }
  index_.insert(entry.extract(name));
  if (!mask) return;
  mask->volumeMask()->setExtent(SbBox3f(SbVec3f(0, 0, 0), SbVec3f(1, 1, 1)));
  masksChanged();
}

Roi* HxRois::notifyRoiRemove(const std::string& name) {
  const auto found = findIndexed(name);
  if (found == index_.end()) throw neverInserted(name, getLabel());
  Roi* roi = found->second;
  const std::string known = found->first;
  roi->notifyRemovedFromHxRois(this);
  index_.erase(known);
  forgetColorPorts(known);
  if (const auto* mask = dynamic_cast<const Mask*>(roi)) {
    leaveMask(mask);
    masksChanged();
  }
  return roi;
}

void HxRois::notifyRoiRename(const std::string& oldName, const std::string& newName) {
  checkNameIsFree(newName);
  auto entry = index_.extract(oldName);
  if (entry.empty()) throw neverInserted(oldName, getLabel());
  entry.key() = newName;
  index_.insert(std::move(entry));
  renameColorPorts(oldName, newName);
  if (const Mask* mask = getMask(newName)) HxRoiToHxVolumeDataRegistry::renameMask(this, mask, newName);
}

// --- What callers ask for -----------------------------------------------------------------------------------------

void HxRois::addRoi(Roi* roi) {
  insertRoi(roi, rois_.size());
}

void HxRois::insertRoi(Roi* roi, unsigned long position) {
  rois_.reserve(rois_.size() + 1);
  notifyRoiAdd(roi);
  roi->setParent(nullptr);
  const auto place = std::min<std::size_t>(position, rois_.size());
  rois_.insert(rois_.begin() + static_cast<std::ptrdiff_t>(place), RoiHandle(roi));
  for (const unsigned int flags : {8U, 128U, 2048U, 32U}) touch(flags);
}

HxRois::RoiHandle HxRois::removeRoi(const std::string& name) {
  const auto found = findTopLevel(name);
  if (found == rois_.end()) throw neverInserted(name, getLabel());
  const auto position = found - rois_.begin();
  RoiHandle roi = *found;
  notifyRoiRemove(name);
  rois_.erase(rois_.begin() + position);
  roi->setColormap(nullptr);
  touch(8);
  return roi;
}

void HxRois::removeAllRois() {
  const RoiList all = rois_;
  for (const RoiHandle& roi : all) removeRoi(indexedName(*roi));
}

HxRois::RoiHandle HxRois::replaceRoi(const std::string& name, Roi* newRoi) {
  const auto found = findTopLevel(name);
  if (found == rois_.end()) throw neverInserted(name, getLabel());
  const auto position = static_cast<unsigned long>(found - rois_.begin());
  const HxColormap* colormap = (*found)->colormap(false);
  Group* parent = (*found)->parent();
  RoiHandle old = removeRoi(name);
  try {
    insertRoi(newRoi, position);
  } catch (...) {
    insertRoi(old, position);
    old->setColormap(colormap);
    old->setParent(parent);
    throw;
  }
  renameColorPorts(name, newRoi->name());
  return old;
}
