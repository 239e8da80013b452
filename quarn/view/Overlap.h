#pragma once

#include <optional>
#include <vector>

#include "quarn/view/MaskBits.h"
#include "quarn/view/export.h"
#include "quarn/voxora/tiles/TileSnapshot.h"

namespace quarn::view {

/// A mask at some level, and a box of that level that holds its set voxels.
struct BoxedMask {
  hxvoxora::TileSnapshot content;
  SbBox3i32 box;
};

/// The voxels that at least two masks share.
struct Overlap {
  std::optional<MaskBits> shared;  ///< nothing when there are none
  std::vector<bool> takesPart;     ///< for each mask, whether it has any of them
};

/// Looks only where boxes of masks meet. All masks have one grid. Throws McException when a tile cannot be read.
QUARN_VIEW_API Overlap findOverlap(const std::vector<BoxedMask>& masks);

}  // namespace quarn::view
