#pragma once

#include <cstdint>

namespace hxvoxora {

/// What a file set holds for one tile. The values are those of the tile index.
enum class StoredTileKind : std::uint8_t {
  unwritten = 0,  ///< never written; reads as the default value of whoever reads it
  zero = 1,       ///< written, every voxel of the volume in it is clear
  one = 2,        ///< written, every voxel of the volume in it is set
  stored = 3      ///< its bits are in the data file
};

/// Tiles that follow each other in tile order and are of one kind.
struct StoredTileRun {
  std::uint64_t firstTile = 0;
  std::uint64_t tileCount = 0;
  StoredTileKind kind = StoredTileKind::unwritten;

  bool operator==(const StoredTileRun&) const = default;
};

}  // namespace hxvoxora
