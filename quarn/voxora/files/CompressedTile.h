#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "quarn/voxora/files/TileForm.h"

namespace hxvoxora {

/// A tile in the form in which the data file holds it.
struct CompressedTile {
  std::vector<std::byte> bytes;
  TileForm form = TileForm::raw;
  std::uint64_t checksum = 0;  ///< XXH3, 64 bits, of `bytes`
};

}  // namespace hxvoxora
