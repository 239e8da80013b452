#include "quarn/voxora/components/detail/ComponentSweep.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace hxvoxora::detail {

ComponentSweep::ComponentSweep(const BlockGrid& blocks, Neighbours neighbours, const ComponentSink& sink)
    : blocks_(blocks), neighbours_(neighbours), sink_(sink), full_(blocks), fullFaces_(makeFullFaces(blocks)) {}

void ComponentSweep::add(LabelledBlock& next) {
  leaveStretches(blocks_.tileOf(next.task.block));
  if (next.task.stretch) {
    addStretch(*next.task.stretch);
  } else {
    addBlock(next);
  }
}

void ComponentSweep::end() {
  leaveStretches(std::numeric_limits<std::int64_t>::max());
}

/// Joins a stretch to those before it. Blocks find the stretches around them, be they before or behind.
void ComponentSweep::addStretch(const TileStretch& stretch) {
  const OpenComponents::Number mine = numberOf(stretch);
  for (const TileStretch& around : full_.around(stretch, neighbours_)) {
    const std::int64_t end = std::min(around.end, stretch.first);
    blocks_.table().forEachRunIn(around.first, end - around.first,
                                 [&](std::int64_t first, std::int64_t count, const TileSlot& slot) {
                                   if (slot.isReference() || !blocks_.mayHaveVoxels(slot)) return;
                                   for (std::int64_t tile = first; tile < first + count;) {
                                     const TileStretch theirs = full_.at(tile);
                                     open_.join(mine, numberOf(theirs));
                                     tile = theirs.end;
                                   }
                                 });
  }
}

/// The number of a stretch, which stays valid until all blocks around it have come.
OpenComponents::Number ComponentSweep::numberOf(const TileStretch& stretch) {
  const auto known = stretches_.find(stretch.end);
  if (known != stretches_.end()) return known->second;
  const OpenComponents::Number number = open_.add(full_.component(stretch));
  stretches_.emplace(stretch.end, number);
  return number;
}

/// Forgets the stretches that neither this tile touches nor one behind it.
void ComponentSweep::leaveStretches(std::int64_t tile) {
  while (!stretches_.empty() && stretches_.begin()->first <= tile - full_.reach()) {
    const OpenComponents::Number number = stretches_.begin()->second;
    stretches_.erase(stretches_.begin());
    release(number);
  }
}

void ComponentSweep::addBlock(LabelledBlock& block) {
  block.forEachClosed(sink_);
  numbers_.assign(block.open().size(), OpenComponents::none);
  Waiting mine;
  const std::span<const BlockStep> steps = blockSteps(neighbours_);
  const BlockSurroundings& around = block.task.around;
  for (std::size_t i = 0; i < steps.size(); ++i) {
    const BlockStep& step = steps[i];
    if ((around.steps >> i & 1) == 0) continue;
    const std::int64_t there = blocks_.blockAt(step.from(block.task.place));
    if ((around.fullSteps >> i & 1) != 0) {
      meet(block, full_.at(blocks_.tileOf(there)), step);
      continue;
    }
    if (there > block.task.block) {
      ++mine.meetings[step.side.index()];
      continue;
    }
    const auto other = front_.find(there);
    if (other == front_.end()) continue;
    meet(block, other->second, step);
    closeFace(other->second, step.other.index());
    const auto& faces = other->second.faces;
    if (std::all_of(faces.begin(), faces.end(), [](const auto& face) { return !face; })) front_.erase(other);
  }
  bool waits = false;
  for (std::size_t side = 0; side < sideCount; ++side) {
    if (!block.faces()[side] || mine.meetings[side] == 0) continue;
    mine.faces[side] = std::move(block.faces()[side]);
    number(*mine.faces[side], block);
    waits = true;
  }
  if (waits) front_.emplace(block.task.block, std::move(mine));
  for (std::size_t i = 0; i < numbers_.size(); ++i) {
    if (numbers_[i] != OpenComponents::none) {
      release(numbers_[i]);
    } else {
      sink_(block.inVolume(block.open()[i]));  // nothing meets it after all
    }
  }
}

/// Gives the labels of a face, which are places among the open components of its block, their numbers.
void ComponentSweep::number(BlockFace& face, const LabelledBlock& block) {
  for (std::uint32_t& label : face.labels()) {
    OpenComponents::Number& number = numbers_[label];
    if (number == OpenComponents::none) number = open_.add(block.inVolume(block.open()[label]));
    open_.hold(number);
    label = number;
  }
}

void ComponentSweep::meet(LabelledBlock& block, const Waiting& other, const BlockStep& step) {
  const BlockFace* mine = block.faces()[step.side.index()].get();
  const BlockFace* theirs = other.faces[step.other.index()].get();
  if (!mine || !theirs) return;
  forEachTouch(neighbours_, *mine, step, *theirs, [&](std::uint32_t component, OpenComponents::Number theirNumber) {
    join(block, component, theirNumber);
  });
}

void ComponentSweep::meet(LabelledBlock& block, const TileStretch& stretch, const BlockStep& step) {
  const BlockFace* mine = block.faces()[step.side.index()].get();
  if (!mine) return;
  forEachTouch(neighbours_, *mine, step, fullFaces_[step.other.index()],
               [&](std::uint32_t component, std::uint32_t) { join(block, component, numberOf(stretch)); });
}

void ComponentSweep::join(const LabelledBlock& block, std::uint32_t component, OpenComponents::Number theirNumber) {
  OpenComponents::Number& number = numbers_[component];
  if (number == OpenComponents::none) {
    number = open_.extend(theirNumber, block.inVolume(block.open()[component]));
  } else {
    open_.join(number, theirNumber);
  }
}

/// One of the blocks that a face waits for has come; with the last one the face goes.
void ComponentSweep::closeFace(Waiting& waiting, std::size_t side) {
  if (!waiting.faces[side] || --waiting.meetings[side] > 0) return;
  for (const OpenComponents::Number label : waiting.faces[side]->labels()) release(label);
  waiting.faces[side].reset();
}

void ComponentSweep::release(OpenComponents::Number number) {
  Component complete;
  if (open_.release(number, complete)) sink_(complete);
}

}  // namespace hxvoxora::detail
