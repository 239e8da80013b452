#pragma once

#include "bench/limits.h"
#include "quarn/voxora/tiles/TileSnapshot.h"

/// What the gzip codec costs by itself: all tiles with bits, one by one, with all workers, the fastest level.
namespace bench {

Limit compress(const hxvoxora::TileSnapshot& content);
Limit decompress(const hxvoxora::TileSnapshot& content);

}  // namespace bench
