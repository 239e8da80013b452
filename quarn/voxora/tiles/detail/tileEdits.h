#pragma once

#include <cstdint>

#include "quarn/voxora/bits/BitRows.h"
#include "quarn/voxora/bits/TruthTable.h"
#include "quarn/voxora/tiles/TileGrid.h"
#include "quarn/voxora/tiles/detail/TileSlot.h"
#include "quarn/voxora/tiles/detail/TileTable.h"

/// New contents of single tiles. Contents are constants or cells, never "unwritten"; `part` is the box of voxels that
/// change, not empty and inside the tile. What comes back is a constant whenever all voxels of the tile are equal, and
/// the cell that went in whenever nothing changes in it. All functions are safe from any thread.
namespace hxvoxora::detail {

/// One tile of a volume, and the part of it that changes.
struct TileEdit {
  const TileGrid& grid;
  std::int64_t tile;
  SbBox3i32 part;

  bool isWholeTile() const { return part == grid.tileBox(tile); }
  BitLayout layout() const { return grid.tileLayout(tile); }
};

/// Clear voxels of the part become `fromClear`, set ones `fromSet`.
TileSlot mapTile(const TileEdit& edit, const TileSlot& content, bool fromClear, bool fromSet);

/// f(a, b) in the part, `a` outside. `b` is laid out as the tile is; voxels outside the part do not matter in it.
TileSlot combineTile(const TileEdit& edit, const TileSlot& a, const TileSlot& b, TruthTable f);

/// What is known of all tiles of a pass over whole tiles.
struct PayloadPass {
  bool mayBeCut = true;     ///< false when no tile of the grid reaches over the volume
  bool pastCaches = false;  ///< the results are more than the caches hold
};

/// f(a, b) of the bits of two tiles, as combineTile() has it for whole tiles.
TileSlot combinePayloads(const TileGrid& grid, std::int64_t tile, const PayloadPass& pass, const TilePayload& a,
                         const TilePayload& b, TruthTable f);

/// The bits of an array in the part, `content` outside.
TileSlot replaceInTile(const TileEdit& edit, const TileSlot& content, const void* bits, const BitLayout& layout);

/// The voxels of the part in another volume, as content laid out as the tile is; voxels outside the part are anything.
TileSlot contentFrom(const TileTable& other, const TileEdit& edit);

}  // namespace hxvoxora::detail
