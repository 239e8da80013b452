#pragma once

#include <cstdint>
#include <vector>

#include "quarn/voxora/export.h"
#include "quarn/voxora/tiles/TileGrid.h"

namespace hxvoxora {

/// Tiles with consecutive numbers that a box covers alike.
struct TileRun {
  std::int64_t first = 0;
  std::int64_t count = 0;
  bool whole = false;  ///< the box holds every voxel of each of them; otherwise of none

  friend bool operator==(const TileRun&, const TileRun&) = default;
};

/// The tiles that share voxels with a box, in ascending order and in as few runs as there can be: one when the box is
/// the whole volume. The part of the box outside the volume has no tiles.
QUARN_VOXORA_API std::vector<TileRun> runsOf(const TileGrid& grid, const SbBox3i32& box);

}  // namespace hxvoxora
