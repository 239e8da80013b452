#pragma once

#include <cstddef>
#include <string>

#include "quarn/voxora/nodes/SbTypes.h"
#include "quarn/voxora/tiles/TileGrid.h"

namespace hxvoxora::detail {

/// "(x, y, z) to (x, y, z)", both corners inclusive.
std::string boxText(const SbBox3i32& box);

/// McException naming box and dimensions when a box that is not empty reaches outside the volume.
void requireInside(const SbBox3i32& box, const TileGrid& grid);

/// requireInside(), and McException when so many bytes cannot hold the bits of the box.
void requireRoom(const SbBox3i32& box, const TileGrid& grid, std::size_t byteSize);

}  // namespace hxvoxora::detail
