#include "quarn/voxora/components/detail/ComponentSweep.h"

#include <algorithm>
#include <utility>

namespace hxvoxora::detail {

void ComponentSweep::add(LabelledBlock& block) {
  block.forEachClosed(sink_);
  numbers_.assign(block.open().size(), OpenComponents::none);
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

void ComponentSweep::meet(LabelledBlock& block, Waiting& other, const BlockStep& step) {
  const BlockFace* mine = block.faces()[step.side.index()].get();
  const BlockFace* theirs = other.faces[step.other.index()].get();
  if (!mine || !theirs) return;
  const auto join = [&](std::uint32_t component, OpenComponents::Number theirNumber) {
    OpenComponents::Number& number = numbers_[component];
    if (number == OpenComponents::none) {
      number = open_.extend(theirNumber, block.inVolume(block.open()[component]));
    } else {
      open_.join(number, theirNumber);
    }
  };
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
