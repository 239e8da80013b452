#pragma once

#include <boost/iterator/indirect_iterator.hpp>
#include <string>
#include <vector>

#include "hxroi/details/Mask.h"
#include "hxroi/details/Roi.h"
#include "hxroi/export.h"
#include "quarn/base/McHandle.h"

namespace hxroi::details {

/// An ordered list of masks that is a ROI itself: members show its colours and properties, and belong to the same ROI
/// sets. Groups do not nest. Everything belongs to the user-interface thread.
///
/// All changes are all-or-nothing: when a set refuses, members and sets are as before and the McException goes on to
/// the caller.
class HXROI_API Group : public Roi {
public:
  using Members = std::vector<McHandle<Mask>>;
  /// Members as `Mask&`.
  using iterator = boost::indirect_iterator<Members::iterator, Mask>;
  using const_iterator = boost::indirect_iterator<Members::const_iterator, const Mask>;

  Group(const std::string& name, const McColor& color, const HxColormap* colormap);
  ~Group() override;

  iterator begin() { return iterator(m_members.begin()); }
  iterator end() { return iterator(m_members.end()); }
  const_iterator begin() const { return const_iterator(m_members.begin()); }
  const_iterator end() const { return const_iterator(m_members.end()); }

  /// Number of members.
  std::size_t size() const { return m_members.size(); }

  /// Appends a mask.
  void addMask(Mask* mask);

  /// Inserts `mask` before the member at `position`; behind the end it is appended. McException when a member has its
  /// name; a refused mask stays the caller's.
  void insertMask(Mask* mask, unsigned long position);

  /// Takes the member out and hands it to the caller. McException when there is none of that name.
  McHandle<Mask> removeMask(const std::string& name);

  /// Puts `newMask` in the place of the member `name`, which goes to the caller.
  McHandle<Mask> replaceMask(const std::string& name, Mask* newMask);

  /// The member of that name; McException when there is none.
  Mask* getMask(const std::string& name);
  const Mask* getMask(const std::string& name) const;

  /// Forgets the group mask. Members stay, the result is always empty: a caller that wants an empty group removes them.
  Members clear();

  /// The union of all members with the colours and parameters of the group; null for a group without members. Computed
  /// on demand and kept until a member enters or leaves or `clear()` is called; edits of a member's voxels do not renew
  /// it. Owned by the group.
  Mask* getGroupMask() const;

  void notifyAddedToHxRois(HxRois* rois) override;
  void notifyRemovedFromHxRois(HxRois* rois) override;

  /// Tell the sets of the group that a member enters or leaves; called before the list is changed.
  void notifyInsertMask(Mask* mask);
  void notifyRemoveMask(const std::string& name);

private:
  Members::iterator find(const std::string& name);
  void touchInherited(Mask& member) const;

  mutable McHandle<Mask> m_groupMask;
  Members m_members;
};

}  // namespace hxroi::details
