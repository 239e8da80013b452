#pragma once

#include <cstdint>

namespace hxvoxora {

/// How the data file holds the bits of a stored tile (docs/format/tile-data.md). The values are those of the tile
/// index.
enum class TileForm : std::uint32_t {
  raw = 0,        ///< the bits as they are
  bricks = 1,     ///< packed by bricks of 8 x 8 x 8 voxels, of which only those with different voxels are there
  gzipBricks = 2  ///< one gzip member that holds the tile packed by bricks
};

}  // namespace hxvoxora
