#include "quarn/voxora/components/detail/FloodGraph.h"

#include <algorithm>
#include <utility>

namespace hxvoxora::detail {

FloodGraph::FloodGraph(const BlockGrid& blocks, Neighbours neighbours)
    : blocks_(blocks), neighbours_(neighbours), full_(blocks), fullFaces_(makeFullFaces(blocks)) {}

const FloodGraph::Unit* FloodGraph::find(std::int64_t block) const {
  const auto found = blockUnits_.find(block);
  return found == blockUnits_.end() ? nullptr : &units_[found->second];
}

FloodGraph::Unit& FloodGraph::addUnit(std::int64_t first, std::int64_t end, std::uint32_t nodeCount) {
  (end == 0 ? blockUnits_ : stretchUnits_).emplace(first, static_cast<std::uint32_t>(units_.size()));
  Unit& unit = units_.emplace_back();
  unit.first = first;
  unit.end = end;
  unit.firstNode = sets_.size();
  unit.nodeCount = nodeCount;
  for (std::uint32_t i = 0; i < nodeCount; ++i) sets_.add();
  return unit;
}

void FloodGraph::add(LabelledPart& part) {
  Unit& unit = addUnit(part.block, 0, static_cast<std::uint32_t>(part.sides.size()));
  sides_.insert(sides_.end(), part.sides.begin(), part.sides.end());
  unit.hasClosed = part.hasClosed;
  unit.faces = std::make_unique<Faces>(std::move(part.faces));
  const std::span<const BlockStep> steps = blockSteps(neighbours_);
  for (std::size_t i = 0; i < steps.size(); ++i) {
    if ((part.around.steps >> i & 1) == 0) continue;
    const std::int64_t there = blocks_.blockAt(steps[i].from(part.place));
    if ((part.around.fullSteps >> i & 1) != 0) {
      meet(unit, blocks_.tileOf(there), steps[i]);
    } else if (const auto other = blockUnits_.find(there); other != blockUnits_.end()) {
      meet(unit, units_[other->second], steps[i]);
    } else {
      ++unit.comingToFace[steps[i].side.index()];
    }
  }
  for (std::size_t side = 0; side < sideCount; ++side) dropUnless(unit, side, unit.comingToFace[side] > 0);
}

FloodGraph::Node FloodGraph::nodeOf(const TileStretch& stretch) {
  const auto known = stretchUnits_.find(stretch.first);
  if (known != stretchUnits_.end()) return units_[known->second].firstNode;
  sides_.push_back(0);
  return addUnit(stretch.first, stretch.end, 1).firstNode;
}

/// The other block was there before.
void FloodGraph::meet(Unit& unit, Unit& other, const BlockStep& step) {
  const std::size_t otherSide = step.other.index();
  if (!other.faces) return;
  const BlockFace *mine = (*unit.faces)[step.side.index()].get(), *theirs = (*other.faces)[otherSide].get();
  if (mine && theirs) {
    ++meetings_;
    forEachTouch(neighbours_, *mine, step, *theirs,
                 [&](std::uint32_t a, std::uint32_t b) { join(unit.firstNode + a, other.firstNode + b); });
  }
  dropUnless(other, otherSide, --other.comingToFace[otherSide] > 0);
}

void FloodGraph::meet(Unit& unit, std::int64_t fullTile, const BlockStep& step) {
  const BlockFace* mine = (*unit.faces)[step.side.index()].get();
  if (!mine) return;
  ++meetings_;
  const TileStretch stretch = full_.at(fullTile);
  forEachTouch(neighbours_, *mine, step, fullFaces_[step.other.index()],
               [&](std::uint32_t a, std::uint32_t) { join(unit.firstNode + a, nodeOf(stretch)); });
}

void FloodGraph::dropUnless(Unit& unit, std::size_t side, bool isNeeded) {
  if (isNeeded || !unit.faces) return;
  (*unit.faces)[side].reset();
  if (std::all_of(unit.faces->begin(), unit.faces->end(), [](const auto& face) { return !face; })) unit.faces.reset();
}

void FloodGraph::reach(Node node) {
  hasStart_ = true;
  start_ = node;
  sets_.forEachWith(node, [&](Node member) { fresh_.push_back(member); });
}

void FloodGraph::join(Node a, Node b) {
  a = sets_.root(a);
  b = sets_.root(b);
  if (a == b) return;
  const Node reached = hasStart_ ? sets_.root(start_) : a;
  if (b == reached) std::swap(a, b);
  if (hasStart_ && a == reached) sets_.forEachWith(b, [&](Node member) { fresh_.push_back(member); });
  sets_.join(a, b);
}

/// Units without nodes stand before the one that has the next node.
FloodGraph::Unit& FloodGraph::unitOf(Node node) {
  const auto behind = std::upper_bound(units_.begin(), units_.end(), node,
                                       [](Node value, const Unit& unit) { return value < unit.firstNode; });
  return *std::prev(behind);
}

}  // namespace hxvoxora::detail
