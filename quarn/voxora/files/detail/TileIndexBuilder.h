#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "quarn/voxora/files/detail/TileIndex.h"

namespace hxvoxora::detail {

/// Collects what is known of the tiles of a volume, in any order, and makes the index of it.
class TileIndexBuilder {
public:
  void addRun(const StoredTileRun& run);
  void addStored(std::uint64_t tile, const StoredTile& entry);

  /// Tiles that were not mentioned are unwritten. Throws McException naming `path` when a tile was mentioned twice.
  TileIndex build(std::uint64_t tileCount, const std::string& path);

private:
  struct Piece {
    StoredTileRun run;
    StoredTile entry;  // for a run of one stored tile
  };

  std::vector<Piece> pieces_;
};

}  // namespace hxvoxora::detail
