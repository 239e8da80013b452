#include <algorithm>
#include <vector>

#include "quarn/voxora/bits/BitKernels.h"
#include "quarn/voxora/tiles/TileSnapshot.h"
#include "quarn/voxora/tiles/detail/TileTable.h"

/// Walking over the runs of set voxels.
namespace hxvoxora {

namespace {

/// A tile as the walk sees it: its bits pinned, its part of the box.
struct Pinned {
  SbBox3i32 part;
  bool set = false;  // all voxels, when there is no payload
  Ref<const TilePayload> payload;
  BitLayout layout;
};

Pinned pin(const detail::TileTable& table, std::int64_t tile, const SbBox3i32& box) {
  Pinned pinned;
  pinned.part = table.grid().tileBox(tile).intersection(box);
  const detail::TileSlot content = table.content(tile);
  if (content.isReference()) {
    pinned.payload = content.cell().pin();
    pinned.layout = table.grid().tileLayout(tile);
  } else {
    pinned.set = content.value();
  }
  return pinned;
}

/// Joins runs of one row that touch, and hands them on when they are complete. Ends are exclusive and 64 bits wide,
/// since a row may end with voxel 2^31 - 2.
template <typename Emit>
class RunJoiner {
public:
  explicit RunJoiner(Emit emit) : emit_(emit) {}

  void add(std::int64_t x0, std::int64_t x1) {
    if (x0 == end_ && begin_ < end_) {
      end_ = x1;
      return;
    }
    finish();
    begin_ = x0;
    end_ = x1;
  }

  void finish() {
    if (begin_ < end_) emit_(static_cast<int>(begin_), static_cast<int>(end_));
    begin_ = end_ = 0;
  }

private:
  Emit emit_;
  std::int64_t begin_ = 0, end_ = 0;
};

template <typename Runs>
void addRunsOfRow(const Pinned& tile, std::int32_t y, std::int32_t z, Runs& runs) {
  const std::int64_t x0 = tile.part.getMin()[0];
  if (!tile.payload) {
    if (tile.set) runs.add(x0, std::int64_t{tile.part.getMax()[0]} + 1);
    return;
  }
  const void* bits = tile.payload->bits();
  const std::uint64_t row = tile.layout.bit(static_cast<std::int32_t>(x0), y, z);
  const auto width = static_cast<std::uint64_t>(tile.part.size(0));
  for (std::uint64_t at = 0; at < width;) {
    const std::uint64_t first = at + findFirstSet(bits, row + at, width - at);
    if (first == width) return;
    at = first + findFirstClear(bits, row + first, width - first);
    runs.add(x0 + static_cast<std::int64_t>(first), x0 + static_cast<std::int64_t>(at));
  }
}

/// The runs of one slice of a row of tiles.
template <typename Visit>
void visitRow(const std::vector<Pinned>& row, std::int32_t z, Visit visit) {
  if (std::none_of(row.begin(), row.end(), [](const Pinned& tile) { return tile.set || tile.payload; })) return;
  const SbBox3i32& part = row.front().part;
  for (std::int32_t y = part.getMin()[1]; y <= part.getMax()[1]; ++y) {
    RunJoiner runs([&](int x0, int x1) { visit(y, x0, x1); });
    for (const Pinned& tile : row) addRunsOfRow(tile, y, z, runs);
    runs.finish();
  }
}

}  // namespace

void TileSnapshot::visitRuns(const SbBox3i32& box, void* visitor, RunFunction call) const {
  const TileGrid::Range tiles = grid().tilesOf(box);
  const std::int64_t perRow = tiles.count(0), perLayer = perRow * tiles.count(1);
  // One row of tiles is pinned at a time: a layer of them may be larger than memory.
  std::vector<Pinned> row;
  for (std::int64_t firstOfLayer = 0; firstOfLayer < tiles.size(); firstOfLayer += perLayer) {
    const SbBox3i32 depth = grid().tileBox(tiles[firstOfLayer]).intersection(box);
    for (std::int32_t z = depth.getMin()[2]; z <= depth.getMax()[2]; ++z) {
      for (std::int64_t first = firstOfLayer; first < firstOfLayer + perLayer; first += perRow) {
        row.clear();
        for (std::int64_t i = first; i < first + perRow; ++i) row.push_back(pin(*table_, tiles[i], box));
        visitRow(row, z, [&](int y, int x0, int x1) { call(visitor, y, z, x0, x1); });
      }
    }
  }
}

void TileSnapshot::visitRunsInTile(std::int64_t tile, const SbBox3i32& box, void* visitor, RunFunction call) const {
  const Pinned pinned = pin(*table_, tile, box);
  if (!pinned.set && !pinned.payload) return;
  for (std::int32_t z = pinned.part.getMin()[2]; z <= pinned.part.getMax()[2]; ++z) {
    for (std::int32_t y = pinned.part.getMin()[1]; y <= pinned.part.getMax()[1]; ++y) {
      RunJoiner runs([&](int x0, int x1) { call(visitor, y, z, x0, x1); });
      addRunsOfRow(pinned, y, z, runs);
      runs.finish();
    }
  }
}

}  // namespace hxvoxora
