#pragma once

#include <cstddef>

#include "bench/limits.h"
#include "quarn/voxora/bits/TruthTable.h"
#include "quarn/voxora/tiles/TileSnapshot.h"

/// The bytes of tiles that an operation cannot do without; tiles without bits take part in none.
namespace bench {

/// The bytes of all tiles with bits.
std::size_t payloadBytes(const hxvoxora::TileSnapshot& content);

/// The bytes that f(a, b) makes: tiles in which both have bits, and those that come out inverted.
std::size_t combinedBytes(const hxvoxora::TileSnapshot& a, const hxvoxora::TileSnapshot& b, hxvoxora::TruthTable f);

/// f(a, b): tiles in which both have bits are combined, those that come out inverted are copied, shared ones are free.
Limit combineLimit(const hxvoxora::TileSnapshot& a, const hxvoxora::TileSnapshot& b, hxvoxora::TruthTable f);

/// The volume into one buffer of bits, or from such a buffer into tiles.
Limit fetchLimit(const hxvoxora::TileSnapshot& content);
Limit replaceLimit(const hxvoxora::TileSnapshot& content);

}  // namespace bench
