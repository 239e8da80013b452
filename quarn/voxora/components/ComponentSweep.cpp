#include "quarn/voxora/components/detail/ComponentSweep.h"

#include <algorithm>
#include <utility>

namespace hxvoxora::detail {

void ComponentSweep::add(LabelledBlock& block) {
  block.forEachClosed(sink_);
  number(block);
  Waiting mine;
  const std::span<const BlockStep> steps = blockSteps(neighbours_);
  for (std::size_t i = 0; i < steps.size(); ++i) {
    const BlockStep& step = steps[i];
    if ((block.task.stepsTaken >> i & 1) == 0) continue;
    const std::int64_t there = block.task.blocks->blockAt(step.from(block.task.place));
    if (there > block.task.block) {
      ++mine.meetings[step.side.index()];
      continue;
    }
    const auto other = front_.find(there);
    if (other == front_.end()) continue;
    meet(block.faces()[step.side.index()].get(), other->second, step);
    closeFace(other->second, step.other.index());
    const auto& faces = other->second.faces;
    if (std::all_of(faces.begin(), faces.end(), [](const auto& face) { return !face; })) front_.erase(other);
  }
  bool waits = false;
  for (std::size_t side = 0; side < sideCount; ++side) {
    if (!block.faces()[side] || mine.meetings[side] == 0) continue;
    mine.faces[side] = std::move(block.faces()[side]);
    for (const OpenComponents::Number label : mine.faces[side]->labels()) open_.hold(label);
    waits = true;
  }
  if (waits) front_.emplace(block.task.block, std::move(mine));
  for (const OpenComponents::Number number : numbers_) release(number);
}

/// Gives the open components of a block their numbers, which become the labels of its faces.
void ComponentSweep::number(LabelledBlock& block) {
  numbers_.clear();
  const SbVec3i32 origin = block.task.blocks->origin(block.task.place);
  for (const LocalComponent& component : block.open())
    numbers_.push_back(open_.add(LabelledBlock::inVolume(component, origin)));
  for (const auto& face : block.faces()) {
    if (!face) continue;
    for (std::uint32_t& label : face->labels()) label = numbers_[label];
  }
}

void ComponentSweep::meet(const BlockFace* mine, Waiting& other, const BlockStep& step) {
  const BlockFace* theirs = other.faces[step.other.index()].get();
  if (!mine || !theirs) return;
  const auto join = [this](OpenComponents::Number a, OpenComponents::Number b) { open_.join(a, b); };
  if (neighbours_ == Neighbours::Faces) {
    mine->forEachTouch<Neighbours::Faces>(*theirs, step.across, step.up, join);
  } else {
    mine->forEachTouch<Neighbours::All>(*theirs, step.across, step.up, join);
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
