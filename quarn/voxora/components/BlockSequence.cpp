#include "quarn/voxora/components/detail/BlockSequence.h"

namespace hxvoxora::detail {

BlockSequence::BlockSequence(const BlockGrid& blocks, Neighbours neighbours)
    : blocks_(blocks), steps_(blockSteps(neighbours)) {
  blocks.table().forEachRun([&](std::int64_t first, std::int64_t count, const TileSlot& slot) {
    if (!blocks.mayHaveVoxels(slot)) return;
    const bool isMixed = slot.isReference();
    if (!runs_.empty() && runs_.back().isMixed == isMixed && runs_.back().endTile == first) {
      runs_.back().endTile += count;
    } else {
      runs_.push_back({first, first + count, isMixed});
    }
    count_ += count * blocks.blocksPerTile();
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
    if (block_ % blocks_.blocksPerTile() == 0) tile_.reset();
    task.block = block_++;
    task.place = blocks_.placeOf(task.block);
    if (!blocks_.contains(task.place)) continue;
    if (run.isMixed && !tile_) tile_ = std::make_shared<TilePin>(blocks_.table(), tile);
    task.tile = run.isMixed ? tile_ : nullptr;
    task.origin = blocks_.origin(task.place);
    lookAround(task);
    return true;
  }
  return false;
}

void BlockSequence::lookAround(LabelledBlock::Task& task) const {
  task.stepsTaken = task.openSides = 0;
  for (std::size_t i = 0; i < steps_.size(); ++i) {
    const BlockPlace there = steps_[i].from(task.place);
    if (!blocks_.contains(there) || !blocks_.mayHaveVoxels(blocks_.blockAt(there))) continue;
    task.stepsTaken |= 1u << i;
    task.openSides |= steps_[i].side.bit();
  }
}

}  // namespace hxvoxora::detail
