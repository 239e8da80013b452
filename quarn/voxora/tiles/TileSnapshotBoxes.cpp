#include <algorithm>
#include <cstring>
#include <functional>

#include "quarn/voxora/bits/BitRows.h"
#include "quarn/voxora/tiles/TileSnapshot.h"
#include "quarn/voxora/tiles/detail/TileTable.h"
#include "quarn/voxora/tiles/detail/boxText.h"
#include "quarn/voxora/tiles/detail/parallel.h"

/// Fetching a box, and what can be said of the voxels of a box.
namespace hxvoxora {

namespace {

using detail::TileSlot;
using detail::TileTable;

/// Boxes below this size are not worth other threads.
constexpr std::int64_t parallelBits = std::int64_t{1} << 21;

/// Slices that one task fetches: a multiple of 8, so that tasks share no byte of the buffer.
constexpr std::int64_t slicesPerTask = 32;

/// Fills a clear buffer with the voxels of a part of its box.
void fetchPart(const TileTable& table, const SbBox3i32& part, void* bits, const BitLayout& layout) {
  const TileGrid& grid = table.grid();
  const TileGrid::Range tiles = grid.tilesOf(part);
  for (std::int64_t i = 0; i < tiles.size(); ++i) {
    const TileSlot content = table.content(tiles[i]);
    if (content.isConstant() && !content.value()) continue;
    const SbBox3i32 common = grid.tileBox(tiles[i]).intersection(part);
    if (content.isConstant()) {
      fillRows(bits, layout, common, true);
    } else {
      copyRows(bits, layout, content.cell().pin()->bits(), grid.tileLayout(tiles[i]), common);
    }
  }
}

std::uint64_t voxelCount(const SbBox3i32& box) {
  return static_cast<std::uint64_t>(box.size(0)) * static_cast<std::uint64_t>(box.size(1)) *
         static_cast<std::uint64_t>(box.size(2));
}

}  // namespace

void TileSnapshot::fetch(const SbBox3i32& box, void* bits) const {
  if (box.isEmpty()) return;
  detail::requireInside(box, grid());
  const BitLayout layout = BitLayout::packed(box);
  const std::int64_t sliceBits = box.size(0) * box.size(1), depth = box.size(2);
  const auto fetchSlices = [&](std::int64_t first, std::int64_t count) {
    const std::int64_t firstByte = first * sliceBits / 8, endByte = ((first + count) * sliceBits + 7) / 8;
    std::memset(static_cast<std::byte*>(bits) + firstByte, 0, static_cast<std::size_t>(endByte - firstByte));
    const SbVec3i32 &min = box.getMin(), &max = box.getMax();
    const auto z0 = static_cast<std::int32_t>(min[2] + first), z1 = static_cast<std::int32_t>(z0 + count - 1);
    fetchPart(*table_, SbBox3i32({min[0], min[1], z0}, {max[0], max[1], z1}), bits, layout);
  };
  if (sliceBits * depth < parallelBits) {
    fetchSlices(0, depth);
    return;
  }
  detail::parallelFor((depth + slicesPerTask - 1) / slicesPerTask, [&](std::int64_t task) {
    const std::int64_t first = task * slicesPerTask;
    fetchSlices(first, std::min(slicesPerTask, depth - first));
  });
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
