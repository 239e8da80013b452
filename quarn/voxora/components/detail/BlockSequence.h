#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "quarn/voxora/components/detail/BlockGrid.h"
#include "quarn/voxora/components/detail/BlockSteps.h"
#include "quarn/voxora/components/detail/FullTiles.h"
#include "quarn/voxora/components/detail/LabelledBlock.h"

namespace hxvoxora::detail {

/// The blocks of the mixed tiles, and the stretches of full ones, in the order of their tiles.
class BlockSequence {
public:
  BlockSequence(const BlockGrid& blocks, Neighbours neighbours);

  /// How many there are; blocks of which the volume's end leaves nothing count, too.
  std::int64_t count() const { return count_; }

  /// Fills in the next block, its place, its tile, and what lies around it; or the next stretch. False when there is
  /// none.
  bool next(LabelledBlock::Task& task);

private:
  struct Run {
    std::int64_t firstTile, endTile;
    bool isMixed;
  };

  void nextStretch(LabelledBlock::Task& task, std::int64_t tile);

  const BlockGrid& blocks_;
  const Neighbours neighbours_;
  const FullTiles full_;
  std::vector<Run> runs_;
  std::int64_t count_ = 0;
  std::size_t run_ = 0;     // the run that holds the next block
  std::int64_t block_ = 0;  // the next block
  std::shared_ptr<TilePin> tile_;
};

}  // namespace hxvoxora::detail
