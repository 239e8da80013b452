#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "quarn/voxora/export.h"
#include "quarn/voxora/tiles/TileGrid.h"
#include "quarn/voxora/tiles/TileSnapshot.h"
#include "quarn/voxora/tiles/WorkCallback.h"

namespace hxvoxora {

/// The voxels of one label.
struct LabelContent {
  std::uint8_t label = 0;
  std::int64_t firstVoxel = 0;  ///< the least index of one in memory order: (z * ny + y) * nx + x
  TileSnapshot content;         ///< set where the label is; the default value is false
};

/// Takes a volume of labels apart: one content for each label but 0 that it has, in the order of their first voxels.
///
/// `labels` has one byte for each voxel of the grid, x fastest, then y, then z, without padding. Each is read once, but
/// again where large tiles have so many labels that their bits would take more than 64 MiB for each worker. Tiles of
/// one label take no memory for voxels, others are spilled when the memory budget demands it. Nothing when `callback`
/// gave the work up. Works on the TBB workers, isolated from other tasks of the calling thread; the result does not
/// depend on their number. McException when the budget is full of edited tiles that cannot be spilled; std::bad_alloc.
///
/// SoVolumeMask::combineBox() with TruthTable::CopyB gives a mask such a content.
QUARN_VOXORA_API std::optional<std::vector<LabelContent>> separateLabels(const std::uint8_t* labels,
                                                                         const TileGrid& grid,
                                                                         const WorkCallback& callback = {});

}  // namespace hxvoxora
