#pragma once

#include "quarn/voxora/tiles/detail/TileTable.h"

namespace hxvoxora::detail {

/// Writes the voxels of a box, not empty and inside the volume, to `bits` as TileSnapshot::fetch() tells. Parallel.
void fetchBox(const TileTable& table, const SbBox3i32& box, void* bits);

}  // namespace hxvoxora::detail
