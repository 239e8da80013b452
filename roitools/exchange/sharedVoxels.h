#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "quarn/base/McBox3i.h"
#include "quarn/voxora/tiles/TileSnapshot.h"
#include "roitools/export.h"

namespace roitools {

/// The voxels of a mask at one moment.
struct MaskContent {
  hxvoxora::TileSnapshot voxels;
  McBox3i box;  ///< of the set voxels, inclusive bounds; empty without any
};

/// How many voxels are set in both contents, which have one size. In parallel, over tiles only where both have voxels.
/// Throws McException when a tile cannot be read.
ROITOOLS_API std::uint64_t countSharedVoxels(const MaskContent& a, const MaskContent& b);

/// Layers, numbered from 0, such that no two contents of one layer share a voxel: each content gets the first layer
/// with room for it, in their order. `goOn`, which may be empty, is called with the part that is done; the result is
/// empty when it gave up. Throws as countSharedVoxels().
ROITOOLS_API std::vector<int> assignLayers(const std::vector<MaskContent>& contents,
                                           const std::function<bool(double)>& goOn = {});

}  // namespace roitools
