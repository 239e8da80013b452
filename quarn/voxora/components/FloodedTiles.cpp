#include <algorithm>
#include <cstring>
#include <utility>

#include "quarn/voxora/components/detail/ComponentFlood.h"

/// What a component that was followed has in each tile.
namespace hxvoxora::detail {

void ComponentFlood::noteWhatIsReached() {
  isReached_.clear();
  for (const FloodGraph::Unit& unit : graph_.units())
    for (std::uint32_t i = 0; i < unit.nodeCount; ++i) isReached_.push_back(graph_.isReached(unit.firstNode + i));
}

bool ComponentFlood::hasPart(const FloodGraph::Unit& unit) const {
  const auto first = isReached_.begin() + unit.firstNode;
  return std::find(first, first + unit.nodeCount, true) != first + unit.nodeCount;
}

/// True when the component has all set voxels of a block.
bool ComponentFlood::isWhole(const FloodGraph::Unit& unit) const {
  const auto first = isReached_.begin() + unit.firstNode;
  return !unit.hasClosed && std::find(first, first + unit.nodeCount, false) == first + unit.nodeCount;
}

/// What the component has in a mixed tile; nothing of use when the callback gave up meanwhile.
TileSlot ComponentFlood::contentOf(std::int64_t tile) {
  const TileSlot& content = blocks_.table().slot(tile);
  const Ref<const TilePayload> source = content.cell().pin();
  BlockScratch& scratch = scratches_.local();
  if (isWholeTile(tile, source->bits(), scratch.rows)) return content;
  Ref<TilePayload> part = TilePayload::make(blocks_.grid().tileByteSize());
  std::memset(part->bits(), 0, part->byteSize());
  const std::int64_t first = tile * blocks_.blocksPerTile();
  for (std::int64_t block = first; block < first + blocks_.blocksPerTile(); ++block) {
    const FloodGraph::Unit* unit = graph_.find(block);
    if (!unit || !hasPart(*unit)) continue;
    if (!mayGoOn()) return {};
    const BlockPlace place = blocks_.placeOf(block);
    scratch.rows.read(blocks_, place, source->bits());
    if (!isWhole(*unit)) keepPart(*unit, place, scratch);
    scratch.rows.write(blocks_, place, part->bits());
  }
  return TileSlot::cell(makeRef<const TileCell>(Ref<const TilePayload>(std::move(part))));
}

/// Clears the voxels of a block that do not belong to the component.
void ComponentFlood::keepPart(const FloodGraph::Unit& unit, const BlockPlace& place, BlockScratch& scratch) const {
  scratch.runs.label(scratch.rows, neighbours_);
  numberOpen(scratch, unit.first, surroundingsOf(blocks_, place, neighbours_));
  scratch.runs.keepOnly(scratch.rows, [&](std::uint32_t component) {
    const std::uint32_t number = scratch.openNumbers[component];
    return number < unit.nodeCount && isReached_[unit.firstNode + number];
  });
}

/// True when the component has all set voxels of a tile.
bool ComponentFlood::isWholeTile(std::int64_t tile, const std::byte* bits, BlockRows& rows) const {
  const std::int64_t first = tile * blocks_.blocksPerTile();
  for (std::int64_t block = first; block < first + blocks_.blocksPerTile(); ++block) {
    if (const FloodGraph::Unit* unit = graph_.find(block)) {
      if (!isWhole(*unit)) return false;
      continue;
    }
    const BlockPlace place = blocks_.placeOf(block);
    if (!blocks_.contains(place)) continue;
    rows.read(blocks_, place, bits);
    if (!rows.isClear()) return false;
  }
  return true;
}

}  // namespace hxvoxora::detail
