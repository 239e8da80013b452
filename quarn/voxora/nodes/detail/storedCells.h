#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "quarn/voxora/files/TiledFileWriter.h"
#include "quarn/voxora/tiles/TileGrid.h"
#include "quarn/voxora/tiles/detail/TileCell.h"

namespace hxvoxora::detail {

/// A tile that has bits, by its number in the file.
struct StoredCell {
  std::uint64_t tile;
  const TileCell* cell;
  int level;
};

/// Packs tiles of a grid in parallel and gives them to the writer in their order. Tiles that stand in a file of the
/// same grid and compression are taken from there as they are, many at a time. `progress` is told the fraction of the
/// tiles that are written, one call at a time; the result is false when it returned false. McException when the tiles
/// that are taken over already need more room than there is.
bool writeCells(const std::vector<StoredCell>& cells, const TileGrid& grid, TiledFileWriter& writer,
                const std::function<bool(double fractionDone)>& progress);

}  // namespace hxvoxora::detail
