#include "quarn/voxora/tiles/detail/TileTable.h"

#include <algorithm>
#include <utility>

#include "quarn/voxora/tiles/detail/TileNode.h"

namespace hxvoxora::detail {

namespace {

using RunVisitor = std::function<void(std::int64_t, std::int64_t, const TileSlot&)>;

/// Tiles below one place of a page that stands `levels` levels above the tiles.
std::int64_t tilesBelow(int levels) {
  return std::int64_t{1} << (TileNode::fanoutBits * levels);
}

void visitRuns(const TileSlot& slot, int levels, std::int64_t first, std::int64_t end, const RunVisitor& visit) {
  if (levels == 0 || !slot.isReference()) {
    visit(first, end - first, slot);
    return;
  }
  const std::int64_t below = tilesBelow(levels - 1);
  for (const TileSlot& child : slot.node().slots) {
    if (first >= end) return;
    visitRuns(child, levels - 1, first, std::min(first + below, end), visit);
    first += below;
  }
}

}  // namespace

TileTable::TileTable(const TileGrid& grid, bool defaultValue, TileSlot root)
    : grid_(grid), levels_(levelsFor(grid.tileCount())), defaultValue_(defaultValue), root_(std::move(root)) {}

int TileTable::levelsFor(std::int64_t tileCount) {
  int levels = 1;
  while (tilesBelow(levels) < tileCount) ++levels;
  return levels;
}

const TileSlot& TileTable::find(const TileSlot& root, int levels, std::int64_t tile) {
  const TileSlot* slot = &root;
  for (int level = levels - 1; level >= 0 && slot->isReference(); --level)
    slot = &slot->node().slots[tile >> (TileNode::fanoutBits * level) & (TileNode::fanout - 1)];
  return *slot;
}

void TileTable::forEachRun(const RunVisitor& visit) const {
  if (!grid_.isEmpty()) visitRuns(root_, levels_, 0, grid_.tileCount(), visit);
}

}  // namespace hxvoxora::detail
