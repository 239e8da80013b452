#include "quarn/voxora/tiles/detail/coarserTable.h"

#include <algorithm>
#include <array>
#include <optional>
#include <utility>

#include "quarn/voxora/tiles/detail/DerivedTile.h"
#include "quarn/voxora/tiles/detail/TileNumbers.h"
#include "quarn/voxora/tiles/detail/TileTableEditor.h"
#include "quarn/voxora/tiles/detail/rangeValue.h"

namespace hxvoxora::detail {

namespace {

class LevelBuilder {
public:
  LevelBuilder(const TileTable& fine, const TableAndLevel* former)
      : fine_(fine),
        former_(former && former->fine.grid() == fine.grid() ? former : nullptr),
        grid_(coarserGrid(fine.grid())),
        below_(fine.grid()),
        numbers_(grid_),
        level_(TileTable(grid_, fine.defaultValue())) {}

  Ref<const TileTable> build() {
    if (!setShared(0, grid_.tileCount(), {{0, fine_.grid().tileCount()}})) {
      for (std::int64_t z = 0; z < numbers_.count[2]; ++z) buildSlice(z);
    }
    return level_.publish();
  }

private:
  using Range = std::pair<std::int64_t, std::int64_t>;  // first, count

  /// Gives `count` tiles the one value of the ranges below them, if they have one.
  bool setShared(std::int64_t first, std::int64_t count, std::initializer_list<Range> ranges) {
    std::optional<bool> shared;
    for (const auto& [begin, size] : ranges) {
      if (size == 0) continue;
      const std::optional<bool> value = rangeValue(fine_, begin, size);
      if (!value || (shared && *shared != *value)) return false;
      shared = value;
    }
    level_.setRange(first, count, TileSlot::constant(*shared));
    return true;
  }

  void buildSlice(std::int64_t z) {
    const std::int64_t slices = std::min<std::int64_t>(2, below_.count[2] - 2 * z);
    const Range under(below_.number(0, 0, 2 * z), slices * below_.perSlice());
    if (setShared(numbers_.number(0, 0, z), numbers_.perSlice(), {under})) return;
    for (std::int64_t y = 0; y < numbers_.count[1]; ++y) buildRow(y, z, slices);
  }

  void buildRow(std::int64_t y, std::int64_t z, std::int64_t slices) {
    const std::int64_t length = std::min<std::int64_t>(2, below_.count[1] - 2 * y) * below_.count[0];
    const Range lower(below_.number(0, 2 * y, 2 * z), length);
    const Range upper(below_.number(0, 2 * y, 2 * z + 1), slices == 2 ? length : 0);
    if (setShared(numbers_.number(0, y, z), numbers_.count[0], {lower, upper})) return;
    for (std::int64_t x = 0; x < numbers_.count[0]; ++x) level_.set(numbers_.number(x, y, z), tileAt(x, y, z));
  }

  TileSlot tileAt(std::int64_t x, std::int64_t y, std::int64_t z) const {
    DerivedTile::Children children;
    std::size_t present = 0, clear = 0, set = 0;
    bool isAsBefore = former_ != nullptr;
    for (std::size_t i = 0; i < children.size(); ++i) {
      const auto place = static_cast<std::int64_t>(i);
      const std::int64_t cx = 2 * x + (place & 1), cy = 2 * y + (place >> 1 & 1), cz = 2 * z + (place >> 2);
      children[i] = TileSlot::constant(false);
      if (cx >= below_.count[0] || cy >= below_.count[1] || cz >= below_.count[2]) continue;
      const std::int64_t tile = below_.number(cx, cy, cz);
      children[i] = fine_.content(tile);
      isAsBefore = isAsBefore && former_->fine.content(tile) == children[i];
      ++present;
      if (children[i].isConstant()) ++(children[i].value() ? set : clear);
    }
    if (clear == present) return TileSlot::constant(false);
    if (set == present) return TileSlot::constant(true);
    const std::int64_t tile = numbers_.number(x, y, z);
    if (isAsBefore) return former_->coarse.content(tile);
    return derivedTile(std::move(children), tile);
  }

  TileSlot derivedTile(DerivedTile::Children children, std::int64_t tile) const {
    const SbBox3i32 box = grid_.tileBox(tile);
    const SbVec3i32 extent(static_cast<std::int32_t>(box.size(0)), static_cast<std::int32_t>(box.size(1)),
                           static_cast<std::int32_t>(box.size(2)));
    auto backing = makeRef<const DerivedTile>(std::move(children), grid_.tileDimensions(), extent);
    return TileSlot::cell(makeRef<const TileCell>(std::move(backing), static_cast<std::uint64_t>(tile)));
  }

  const TileTable& fine_;
  const TableAndLevel* former_;
  const TileGrid grid_;
  const TileNumbers below_, numbers_;
  TileTableEditor level_;
};

}  // namespace

TileGrid coarserGrid(const TileGrid& fine) {
  const auto half = [&](int axis) { return fine.dimensions()[axis] / 2 + fine.dimensions()[axis] % 2; };
  return {SbVec3i32(half(0), half(1), half(2)), fine.tileDimensions()};
}

int levelCount(const TileGrid& grid) {
  if (grid.isEmpty()) return 0;
  int levels = 1;
  for (TileGrid level = grid; level.tileCount() > 1; level = coarserGrid(level)) ++levels;
  return levels;
}

Ref<const TileTable> coarserTable(const TileTable& fine, const TableAndLevel* former) {
  return LevelBuilder(fine, former).build();
}

}  // namespace hxvoxora::detail
