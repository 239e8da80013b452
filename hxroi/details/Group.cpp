#include "hxroi/details/Group.h"

#include <QCoreApplication>
#include <QString>
#include <algorithm>
#include <exception>
#include <iterator>

#include "hxroi/HxRois.h"
#include "hxroi/details/logFailure.h"
#include "quarn/kernel/HxException.h"

namespace hxroi::details {

namespace {

QString translated(const char* text) {
  return QCoreApplication::translate("Group", text);
}

McException alreadyInserted() {
  return hxException(translated(QT_TRANSLATE_NOOP("Group", "Mask already inserted inside this group.")));
}

McException notFound() {
  return hxException(translated(QT_TRANSLATE_NOOP("Group", "Mask not found.")));
}

/// Does `step` for all of [first, last); when one throws, `undo` for those done before it, in the same order, and the
/// exception goes on. An undo that throws is reported and does not keep the others from being done.
template <class Iterator, class Step, class Undo>
void allOrNothing(Iterator first, Iterator last, Step step, Undo undo) {
  for (Iterator at = first; at != last; ++at) {
    try {
      step(*at);
    } catch (...) {
      for (Iterator done = first; done != at; ++done) {
        try {
          undo(*done);
        } catch (const std::exception& failure) {
          logFailure("A refused change of a group could not be undone", failure.what());
        }
      }
      throw;
    }
  }
}

}  // namespace

Group::Group(const std::string& name, const McColor& color, const HxColormap* colormap) : Roi(name, color, colormap) {}

Group::~Group() {
  clear();
  for (Mask& member : *this) {
    if (member.parent() == this) member.setParent(nullptr);
  }
}

void Group::addMask(Mask* mask) {
  insertMask(mask, m_members.size());
}

void Group::insertMask(Mask* mask, unsigned long position) {
  if (find(mask->name()) != m_members.end()) {
    throw alreadyInserted();
  }
  m_members.reserve(m_members.size() + 1);
  notifyInsertMask(mask);
  const auto index = static_cast<std::ptrdiff_t>(std::min<std::size_t>(position, m_members.size()));
  m_members.insert(m_members.begin() + index, McHandle<Mask>(mask));
  m_groupMask.reset();
  mask->setParent(this);
  touch(8);
  touchInherited(*mask);
}

McHandle<Mask> Group::removeMask(const std::string& name) {
  const auto found = find(name);
  if (found == m_members.end()) throw notFound();
  notifyRemoveMask(name);
  const McHandle<Mask> member = *found;
  m_groupMask.reset();
  member->setParent(nullptr);
  m_members.erase(found);
  touch(8);
  touchInherited(*member);
  return member;
}

McHandle<Mask> Group::replaceMask(const std::string& name, Mask* newMask) {
  const auto found = find(name);
  if (found == m_members.end()) throw notFound();
  const auto isTaken = Roi::EqualName(newMask->name());
  if (std::any_of(m_members.begin(), found, isTaken) || std::any_of(found + 1, m_members.end(), isTaken)) {
    throw alreadyInserted();
  }
  const auto position = static_cast<unsigned long>(found - m_members.begin());
  // Not always this group: a mask may belong to several.
  Group* parent = (*found)->parent();
  const McHandle<Mask> former = removeMask(name);
  try {
    insertMask(newMask, position);
  } catch (...) {
    insertMask(former, position);
    former->setParent(parent);
    throw;
  }
  return former;
}

Mask* Group::getMask(const std::string& name) {
  const auto found = find(name);
  if (found == m_members.end()) {
    throw hxException(translated(QT_TRANSLATE_NOOP("Group", "ROI %1 not found.")).arg(QString::fromLatin1(name)));
  }
  return *found;
}

const Mask* Group::getMask(const std::string& name) const {
  return const_cast<Group*>(this)->getMask(name);
}

Group::Members Group::clear() {
  m_groupMask.reset();
  return {};
}

Mask* Group::getGroupMask() const {
  if (m_groupMask || m_members.empty()) return m_groupMask;
  const McHandle<Mask> merged = new Mask(name() + "-merged-masks", *m_members.front());
  const std::string id = merged->id();
  merged->parameters().copy(parameters());
  merged->setId(id);
  merged->setColor(color(true));
  merged->setColormap(colormap(true));
  merged->setColormapRange(colormapRange(true));
  for (auto member = std::next(m_members.begin()); member != m_members.end(); ++member) *merged |= **member;
  m_groupMask = merged;
  return m_groupMask;
}

void Group::notifyAddedToHxRois(HxRois* rois) {
  Roi::notifyAddedToHxRois(rois);
  try {
    allOrNothing(
        m_members.begin(), m_members.end(), [rois](const McHandle<Mask>& member) { rois->notifyRoiAdd(member); },
        [rois](const McHandle<Mask>& member) { rois->notifyRoiRemove(member->name()); });
  } catch (...) {
    Roi::notifyRemovedFromHxRois(rois);
    throw;
  }
}

void Group::notifyRemovedFromHxRois(HxRois* rois) {
  Roi::notifyRemovedFromHxRois(rois);
  try {
    allOrNothing(
        m_members.begin(), m_members.end(),
        [rois](const McHandle<Mask>& member) { rois->notifyRoiRemove(member->name()); },
        [rois](const McHandle<Mask>& member) { rois->notifyRoiAdd(member); });
  } catch (...) {
    Roi::notifyAddedToHxRois(rois);
    throw;
  }
}

void Group::notifyInsertMask(Mask* mask) {
  const std::string name = mask->name();
  allOrNothing(
      owners().begin(), owners().end(), [mask](HxRois* rois) { rois->notifyRoiAdd(mask); },
      [&name](HxRois* rois) { rois->notifyRoiRemove(name); });
}

void Group::notifyRemoveMask(const std::string& name) {
  Mask* mask = getMask(name);
  allOrNothing(
      owners().begin(), owners().end(), [&name](HxRois* rois) { rois->notifyRoiRemove(name); },
      [mask](HxRois* rois) { rois->notifyRoiAdd(mask); });
}

Group::Members::iterator Group::find(const std::string& name) {
  return std::find_if(m_members.begin(), m_members.end(), EqualName(name));
}

void Group::touchInherited(Mask& member) const {
  if (color(true) != member.color(false)) member.touch(128);
  if (colormap(true) != member.colormap(false)) member.touch(2048);
  if (colormapRange(true) != member.colormapRange(false)) member.touch(32);
}

}  // namespace hxroi::details
