#include "quarn/voxora/components/detail/FullTiles.h"

#include <algorithm>

#include "quarn/voxora/tiles/detail/TileNode.h"

namespace hxvoxora::detail {

namespace {

/// The tiles that a mark without bits stands for.
TileStretch markOf(const TileTable& table, std::int64_t tile) {
  const TileSlot* slot = &table.root();
  int bits = TileNode::fanoutBits * table.levels();
  while (slot->isReference()) {
    bits -= TileNode::fanoutBits;
    slot = &slot->node().slots[static_cast<std::size_t>(tile >> bits & (TileNode::fanout - 1))];
  }
  const std::int64_t first = tile >> bits << bits;
  return {first, std::min(first + (std::int64_t{1} << bits), table.grid().tileCount())};
}

/// The part of a stretch in whole rows (or slices) of so many tiles.
TileStretch wholeOnes(const TileStretch& stretch, std::int64_t size) {
  return {(stretch.first + size - 1) / size * size, stretch.end / size * size};
}

/// The part of a stretch in the row (or slice) of a tile.
TileStretch inOneOf(const TileStretch& stretch, std::int64_t size, std::int64_t tile) {
  const std::int64_t first = tile / size * size;
  return {std::max(stretch.first, first), std::min(stretch.end, first + size)};
}

bool holds(const TileStretch& stretch, std::int64_t tile) {
  return stretch.first <= tile && tile < stretch.end;
}

}  // namespace

TileStretch FullTiles::at(std::int64_t tile) const {
  const TileStretch mark = markOf(blocks_.table(), tile);
  const TileStretch slices = wholeOnes(mark, tilesPerSlice());
  if (holds(slices, tile)) return slices;
  const TileStretch slice = inOneOf(mark, tilesPerSlice(), tile);
  const TileStretch rows = wholeOnes(slice, tilesPerRow());
  if (holds(rows, tile)) return rows;
  return inOneOf(slice, tilesPerRow(), tile);
}

SbBox3i32 FullTiles::box(const TileStretch& stretch) const {
  const TileGrid& grid = blocks_.grid();
  return {grid.tileBox(stretch.first).getMin(), grid.tileBox(stretch.end - 1).getMax()};
}

Component FullTiles::component(const TileStretch& stretch) const {
  const SbBox3i32 all = box(stretch);
  return {all.getMin(), static_cast<std::uint64_t>(all.size(0) * all.size(1) * all.size(2)), all};
}

std::vector<TileStretch> FullTiles::around(const TileStretch& stretch, Neighbours neighbours) const {
  const std::int64_t row = tilesPerRow(), rows = blocks_.tilesPerAxis()[1], slices = blocks_.tilesPerAxis()[2];
  const auto x = [&](std::int64_t tile) { return tile % row; };
  const auto y = [&](std::int64_t tile) { return tile / row % rows; };
  const auto z = [&](std::int64_t tile) { return tile / row / rows; };
  const std::int64_t last = stretch.end - 1, more = neighbours == Neighbours::All ? 1 : 0;
  const std::int64_t firstX = std::max(x(stretch.first) - more, std::int64_t{0}),
                     lastX = std::min(x(last) + more, row - 1);
  std::vector<TileStretch> found;
  // Several rows are whole ones, but for those beside a part of a row.
  const auto addRows = [&](std::int64_t firstY, std::int64_t lastY, std::int64_t atZ) {
    if (atZ < 0 || atZ >= slices) return;
    firstY = std::max(firstY, std::int64_t{0});
    lastY = std::min(lastY, rows - 1);
    const auto firstOf = [&](std::int64_t atY) { return (atZ * rows + atY) * row; };
    if (firstX == 0 && lastX == row - 1) {
      if (firstY <= lastY) found.push_back({firstOf(firstY), firstOf(lastY + 1)});
      return;
    }
    for (std::int64_t atY = firstY; atY <= lastY; ++atY)
      found.push_back({firstOf(atY) + firstX, firstOf(atY) + lastX + 1});
  };
  const std::int64_t firstY = y(stretch.first), lastY = y(last), firstZ = z(stretch.first), lastZ = z(last);
  addRows(firstY - more, lastY + more, firstZ - 1);
  if (firstZ == lastZ) {
    addRows(firstY - 1, firstY - 1, firstZ);
    if (x(stretch.first) > 0) found.push_back({stretch.first - 1, stretch.first});
    if (x(last) + 1 < row) found.push_back({stretch.end, stretch.end + 1});
    addRows(lastY + 1, lastY + 1, firstZ);
  }
  addRows(firstY - more, lastY + more, lastZ + 1);
  return found;
}

}  // namespace hxvoxora::detail
