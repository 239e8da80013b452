#pragma once

#include <optional>
#include <utility>

#include "quarn/view/MaskBits.h"
#include "quarn/view/MaskSetLook.h"
#include "quarn/view/SlicePlane.h"

namespace quarn::view::detail {

/// The voxels of one mask that a slice picture shows, at the level that its pixels need.
class SliceMask {
public:
  /// Reads the mask. `box` holds its set voxels at level 0.
  SliceMask(const MaskLook& look, const SbBox3i32& box, const LatticeMap& map, const SlicePlane& plane);

  const MaskLook& look() const { return *look_; }

  /// The pixels from first to before second of a row that may be set; none when both are equal.
  std::pair<int, int> reach(int y) const;
  /// Marks the pixels of a row that are set: `marks` has one for each pixel from x0 to before x1.
  void mark(int y, int x0, int x1, unsigned char* marks) const;

private:
  const MaskLook* look_;
  Point3 first_, right_, down_;  ///< in voxels of the level, 0 being the outer face of the first one
  int width_;
  std::optional<MaskBits> bits_;  ///< nothing when the slice misses the mask
};

}  // namespace quarn::view::detail
