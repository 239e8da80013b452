#include <functional>

#include "quarn/voxora/bits/BitRows.h"
#include "quarn/voxora/tiles/TileSnapshot.h"
#include "quarn/voxora/tiles/detail/TileTable.h"
#include "quarn/voxora/tiles/detail/boxText.h"
#include "quarn/voxora/tiles/detail/fetchBox.h"
#include "quarn/voxora/tiles/detail/parallel.h"

/// Fetching a box, and what can be said of the voxels of a box.
namespace hxvoxora {

namespace {

using detail::TileSlot;

std::uint64_t voxelCount(const SbBox3i32& box) {
  return static_cast<std::uint64_t>(box.size(0)) * static_cast<std::uint64_t>(box.size(1)) *
         static_cast<std::uint64_t>(box.size(2));
}

}  // namespace

void TileSnapshot::fetch(const SbBox3i32& box, void* bits) const {
  if (box.isEmpty()) return;
  detail::requireInside(box, grid());
  detail::fetchBox(*table_, box, bits);
}

SbBox3i32 TileSnapshot::computeBoundingBox(const SbBox3i32& region) const {
  const TileGrid::Range tiles = grid().tilesOf(region);
  const auto extend = [&](SbBox3i32& bounds, std::int64_t i) {
    const SbBox3i32 part = tileBox(tiles[i]).intersection(region);
    if (bounds.contains(part)) return;
    const TileSlot content = table_->content(tiles[i]);
    if (content.isReference()) {
      bounds.extendBy(boundsOfRows(content.cell().pin()->bits(), grid().tileLayout(tiles[i]), part));
    } else if (content.value()) {
      bounds.extendBy(part);
    }
  };
  return detail::parallelReduce<SbBox3i32>(tiles.size(), extend, [](SbBox3i32 left, const SbBox3i32& right) {
    left.extendBy(right);
    return left;
  });
}

std::uint64_t TileSnapshot::countSetVoxels(const SbBox3i32& region) const {
  const TileGrid::Range tiles = grid().tilesOf(region);
  const auto add = [&](std::uint64_t& sum, std::int64_t i) {
    const SbBox3i32 part = tileBox(tiles[i]).intersection(region);
    const TileSlot content = table_->content(tiles[i]);
    if (content.isReference()) {
      sum += countRows(content.cell().pin()->bits(), grid().tileLayout(tiles[i]), part);
    } else if (content.value()) {
      sum += voxelCount(part);
    }
  };
  return detail::parallelReduce<std::uint64_t>(tiles.size(), add, std::plus<>());
}

}  // namespace hxvoxora
