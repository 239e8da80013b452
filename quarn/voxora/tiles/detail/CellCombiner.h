#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "quarn/voxora/bits/TruthTable.h"
#include "quarn/voxora/tiles/TileGrid.h"
#include "quarn/voxora/tiles/TilePayload.h"
#include "quarn/voxora/tiles/detail/TileCell.h"
#include "quarn/voxora/tiles/detail/TileNode.h"
#include "quarn/voxora/tiles/detail/TileSlot.h"
#include "quarn/voxora/tiles/detail/tileEdits.h"

namespace hxvoxora::detail {

/// Combines the bits of the tiles of one page, one tile after the other.
///
/// Tiles lie anywhere in memory, and a processor that meets a small tile unprepared waits as long for its first bytes
/// as it takes to combine the rest. So the next tiles are fetched ahead, stage by stage.
class CellCombiner {
public:
  CellCombiner(const TileGrid& grid, const PayloadPass& pass) : grid_(grid), pass_(pass) {}

  /// Notes result = f(a, b) for a tile; at most as many as a page has. Everything handed over must stay until run().
  void add(TileSlot& result, std::int64_t tile, const TileCell& a, const TileCell& b, TruthTable f);

  /// Does what was noted. McException when a tile cannot be read.
  void run();

private:
  struct Job {
    TileSlot* result;
    std::int64_t tile;
    const TileCell *a, *b;
    TruthTable f;
    Ref<const TilePayload> left, right;  ///< from pin() to combine()
  };

  void pin(std::size_t i);
  void prefetchBits(std::size_t i) const;
  void combine(std::size_t i);

  const TileGrid& grid_;
  const PayloadPass pass_;
  std::array<Job, TileNode::fanout> jobs_;
  std::size_t count_ = 0;
};

}  // namespace hxvoxora::detail
