#include "quarn/voxora/components/detail/BlockSequence.h"

namespace hxvoxora::detail {

BlockSequence::BlockSequence(const BlockGrid& blocks, Neighbours neighbours)
    : blocks_(blocks), neighbours_(neighbours), full_(blocks) {
  blocks.table().forEachRun([&](std::int64_t first, std::int64_t count, const TileSlot& slot) {
    if (!blocks.mayHaveVoxels(slot)) return;
    const bool isMixed = slot.isReference();
    if (!runs_.empty() && runs_.back().isMixed == isMixed && runs_.back().endTile == first) {
      runs_.back().endTile += count;
    } else {
      runs_.push_back({first, first + count, isMixed});
    }
    if (isMixed) {
      count_ += count * blocks.blocksPerTile();
    } else {
      full_.forEachIn(first, first + count, [&](const TileStretch&) { ++count_; });
    }
  });
  if (!runs_.empty()) block_ = runs_.front().firstTile * blocks.blocksPerTile();
}

bool BlockSequence::next(LabelledBlock::Task& task) {
  while (run_ < runs_.size()) {
    const Run& run = runs_[run_];
    const std::int64_t tile = blocks_.tileOf(block_);
    if (tile == run.endTile) {
      if (++run_ < runs_.size()) block_ = runs_[run_].firstTile * blocks_.blocksPerTile();
      continue;
    }
    if (!run.isMixed) {
      nextStretch(task, tile);
      return true;
    }
    if (block_ % blocks_.blocksPerTile() == 0) tile_.reset();
    task.block = block_++;
    task.place = blocks_.placeOf(task.block);
    if (!blocks_.contains(task.place)) continue;
    if (!tile_) tile_ = std::make_shared<TilePin>(blocks_.table(), tile);
    task.tile = tile_;
    task.stretch.reset();
    task.origin = blocks_.origin(task.place);
    task.around = surroundingsOf(blocks_, task.place, neighbours_);
    return true;
  }
  return false;
}

void BlockSequence::nextStretch(LabelledBlock::Task& task, std::int64_t tile) {
  task.stretch = full_.at(tile);
  task.block = block_;
  block_ = task.stretch->end * blocks_.blocksPerTile();
}

}  // namespace hxvoxora::detail
