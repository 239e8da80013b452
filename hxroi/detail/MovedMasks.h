#pragma once

#include <string>
#include <vector>

#include "hxroi/HxRois.h"
#include "hxroi/details/Group.h"
#include "hxroi/details/Mask.h"

class HxColormap;

namespace hxroi {

/// Masks of a set that went from one place in it to another, so that all can go back. They keep their colormaps, which
/// masks lose when they leave a set.
class MovedMasks {
public:
  /// `rois` is not owned and outlives this.
  explicit MovedMasks(HxRois& rois) : rois_(rois) {}

  /// Takes the mask out of its group, or out of the top level, and appends it to `target`, a group of the set; null is
  /// the top level. McException when the set has no mask of that name; the mask is where it was then, as it is when it
  /// is refused.
  void move(const std::string& name, details::Group* target);

  /// Brings all masks back to where they were, the last one first.
  void undo();

private:
  using Group = details::Group;
  using Mask = details::Mask;

  struct Place {
    McHandle<Group> group;  ///< null for the top level
    unsigned long position;
  };
  struct Move {
    McHandle<Mask> mask;
    Place from;
  };

  Place placeOf(Mask& mask) const;
  void takeOut(Mask& mask);
  void insert(Mask& mask, const Place& place, const HxColormap* colormap);

  HxRois& rois_;
  std::vector<Move> moves_;
};

}  // namespace hxroi
