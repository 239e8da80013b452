#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace hxvoxora {

/// A tile in the form in which the data file holds it.
struct CompressedTile {
  std::vector<std::byte> bytes;
  bool gzip = false;           ///< the bytes are one gzip member; otherwise they are the bits themselves
  std::uint64_t checksum = 0;  ///< XXH3, 64 bits, of `bytes`
};

}  // namespace hxvoxora
