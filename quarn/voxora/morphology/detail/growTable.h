#pragma once

#include <cstdint>

#include "quarn/voxora/tiles/Ref.h"
#include "quarn/voxora/tiles/WorkCallback.h"
#include "quarn/voxora/tiles/detail/TileTable.h"

namespace hxvoxora::detail {

/// The table after so many dilations or erosions by the six face neighbours: a voxel is set when any of them, or
/// itself, was; or when all of them were and none lies outside of the volume. Tiles that come out as they were keep
/// their place and their bits.
///
/// Several iterations are done in one sweep over the tiles, and only tiles are touched that a sweep may change. Null
/// when `progress` gave up. McException when a tile cannot be read from its file, or there is no memory for another
/// one.
Ref<const TileTable> growTable(Ref<const TileTable> table, std::uint64_t iterations, bool isErosion,
                               const WorkCallback& progress);

}  // namespace hxvoxora::detail
