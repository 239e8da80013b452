#pragma once

#include <cstdint>
#include <optional>
#include <span>

#include "quarn/voxora/export.h"
#include "quarn/voxora/tiles/TileSnapshot.h"
#include "quarn/voxora/tiles/WorkCallback.h"

namespace hxvoxora {

/// The voxels that are to have a label.
struct LabelledMask {
  TileSnapshot content;
  std::uint8_t label = 0;  ///< not 0, which stands for no mask
};

/// What joinLabels() has met.
struct JoinedLabels {
  bool hasOverlaps = false;  ///< a voxel is set in more than one mask
};

/// Writes the labels of masks over a volume: each voxel of `labels` becomes 0 where no mask is set, the label of the
/// mask where one is, and `overlap` where several are.
///
/// `labels` has room for one byte for each voxel of a grid of these dimensions, x fastest, then y, then z, without
/// padding. Nothing when `callback` gave the work up, with some labels written. McException for a mask on another grid
/// and for the label 0, before anything is written, and for a damaged tile. Tiles that are not in memory are read once
/// and do not stay there. Works on the TBB workers, isolated from other tasks of the calling thread.
QUARN_VOXORA_API std::optional<JoinedLabels> joinLabels(std::span<const LabelledMask> masks, std::uint8_t overlap,
                                                        const SbVec3i32& dimensions, std::uint8_t* labels,
                                                        const WorkCallback& callback = {});

}  // namespace hxvoxora
