#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "quarn/voxora/files/TileForm.h"

namespace hxvoxora {

/// Tiles in the form in which the data file holds them, to be handed on in one piece.
struct CompressedTiles {
  struct Tile {
    std::uint64_t number = 0;
    std::uint32_t length = 0;  ///< bytes
    TileForm form = TileForm::raw;
    std::uint64_t checksum = 0;  ///< XXH3, 64 bits, of the bytes
  };

  std::vector<Tile> tiles;
  std::vector<std::byte> bytes;  ///< those of all tiles one behind the other, in the order of `tiles`
};

}  // namespace hxvoxora
