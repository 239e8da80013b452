#pragma once

#include "quarn/voxora/tiles/TileGrid.h"
#include "quarn/voxora/tiles/detail/TileTable.h"

namespace hxvoxora::detail {

/// The grid of the next lower resolution level: half the voxels along each axis, rounded up, in tiles of the same size.
TileGrid coarserGrid(const TileGrid& fine);

/// The levels of a volume, itself included; the last one is the first to fit into one tile. 0 for a grid without
/// voxels.
int levelCount(const TileGrid& grid);

/// A table and the level made from it.
struct TableAndLevel {
  const TileTable& fine;
  const TileTable& coarse;
};

/// The table of the next lower resolution level. No voxel is touched: tiles that are neither all clear nor all set are
/// worked out when somebody wants their bits. Where the tiles below are those of `former`, its tiles are taken over.
Ref<const TileTable> coarserTable(const TileTable& fine, const TableAndLevel* former);

}  // namespace hxvoxora::detail
