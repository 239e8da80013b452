#include "quarn/voxora/tiles/detail/TileTable.h"

#include <algorithm>
#include <utility>

#include "quarn/voxora/tiles/detail/TileNode.h"

namespace hxvoxora::detail {

namespace {

/// Tiles below one place of a page that stands `levels` levels above the tiles.
std::int64_t tilesBelow(int levels) {
  return std::int64_t{1} << (TileNode::fanoutBits * levels);
}

/// The runs of the tiles first <= tile < end below one place, which stands `levels` levels above the tiles and begins
/// with the tile `base`.
void visitRuns(const TileSlot& slot, int levels, std::int64_t base, std::int64_t first, std::int64_t end,
               const TileTable::RunVisitor& visit) {
  const std::int64_t from = std::max(first, base), to = std::min(end, base + tilesBelow(levels));
  if (levels == 0 || !slot.isReference()) return visit(from, to - from, slot);
  const std::int64_t below = tilesBelow(levels - 1);
  for (std::int64_t i = (from - base) / below; base + i * below < to; ++i)
    visitRuns(slot.node().slots[static_cast<std::size_t>(i)], levels - 1, base + i * below, first, end, visit);
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

void TileTable::forEachRunIn(std::int64_t first, std::int64_t count, const RunVisitor& visit) const {
  if (count > 0) visitRuns(root_, levels_, 0, first, first + count, visit);
}

}  // namespace hxvoxora::detail
