#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "quarn/base/McBox3i.h"
#include "quarn/voxora/tiles/TileSnapshot.h"
#include "roitools/RoiOverlap.h"
#include "roitools/export.h"

namespace roitools {

/// The voxels of a mask at one moment.
struct MaskContent {
  hxvoxora::TileSnapshot voxels;
  McBox3i box;  ///< of the set voxels, inclusive bounds; empty without any
};

/// How many voxels each two of some masks of one grid share. `goOn` as for countOverlaps.
ROITOOLS_API std::optional<OverlapCounts> countSharedVoxels(const std::vector<MaskContent>& contents,
                                                            const hxvoxora::WorkCallback& goOn);

/// Parts masks into layers without shared voxels: each one gets the first layer that has room for it, so there is one
/// layer when nothing overlaps. Returns the layer of each mask.
ROITOOLS_API std::vector<int> assignLayers(const OverlapCounts& overlaps);

}  // namespace roitools
