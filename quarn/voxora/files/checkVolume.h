#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "quarn/voxora/export.h"
#include "quarn/voxora/files/TiledFileReader.h"
#include "quarn/voxora/nodes/SbTypes.h"

namespace hxvoxora {

/// What a tiled volume on disk holds, every bit of it read.
struct VolumeCheck {
  std::uint64_t setVoxels = 0;      ///< number of set voxels; those of damaged tiles do not count
  SbBox3i32 bounds;                 ///< smallest box around them; SbBox3i32() when there are none
  std::uint64_t damagedTiles = 0;   ///< tiles, of all levels, whose bits are missing or not those that were written
  std::vector<std::string> damage;  ///< one text for each of the first of them, naming file and tile
  static constexpr std::size_t listedTiles = 10;
};

/// Reads all tiles of all levels and compares them with their checksums. Parallel.
QUARN_VOXORA_API VolumeCheck checkVolume(const TiledFileReader& file);

}  // namespace hxvoxora
