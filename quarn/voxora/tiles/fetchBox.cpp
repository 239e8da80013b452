#include "quarn/voxora/tiles/detail/fetchBox.h"

#include <algorithm>
#include <array>
#include <vector>

#include "quarn/voxora/bits/BitKernels.h"
#include "quarn/voxora/bits/detail/KernelTable.h"
#include "quarn/voxora/bits/detail/appendRows.h"
#include "quarn/voxora/tiles/detail/parallel.h"

namespace hxvoxora::detail {

namespace {

/// Boxes below this size are not worth other threads.
constexpr std::int64_t parallelBits = std::int64_t{1} << 20;

/// Slices that one task fetches: a multiple of 8, so that tasks share no byte of the buffer.
constexpr std::int64_t slicesPerTask = 16;

/// What the rows of constant tiles are made of.
using SameRows = std::array<std::uint8_t, UnitColumn::sameBytes>;
constexpr SameRows zeros{}, ones = [] {
  SameRows bytes{};
  bytes.fill(0xff);
  return bytes;
}();

/// Fetches slices of a box. The tiles that stand side by side along x are pinned at once, and their rows are put
/// together word by word.
class SliceFetch {
public:
  SliceFetch(const TileTable& table, const SbBox3i32& box, void* bits)
      : table_(table),
        box_(box),
        bits_(bits),
        layout_(BitLayout::packed(box)),
        unitBits_(std::min(64, table.grid().tileDimensions()[0])) {}

  void fetch(std::int32_t firstZ, std::int32_t lastZ) {
    const SbVec3i32 &min = box_.getMin(), &max = box_.getMax();
    const SbBox3i32 slices({min[0], min[1], firstZ}, {max[0], max[1], lastZ});
    const TileGrid::Range tiles = table_.grid().tilesOf(slices);
    for (std::int64_t i = 0; i < tiles.size(); i += tiles.count(0)) {
      pin(tiles, i);
      const SbBox3i32 reach = table_.grid().tileBox(tiles[i]);
      fetchRows(table_.grid().tileLayout(tiles[i]), std::max(reach.getMin()[1], min[1]),
                std::min(reach.getMax()[1], max[1]), std::max(reach.getMin()[2], firstZ),
                std::min(reach.getMax()[2], lastZ));
    }
  }

private:
  /// Makes columns of the tiles of a row along x, beginning with number `first` of a range.
  void pin(const TileGrid::Range& tiles, std::int64_t first) {
    contents_.clear();
    pinned_.clear();
    columns_.clear();
    for (std::int64_t i = first; i < first + tiles.count(0); ++i) {
      contents_.push_back(table_.content(tiles[i]));
      pinned_.push_back(contents_.back().isReference() ? contents_.back().cell().pin() : nullptr);
    }
    const std::int32_t unitsPerTile = table_.grid().tileDimensions()[0] / unitBits_;
    const std::int32_t firstTile = box_.getMin()[0] / unitBits_ / unitsPerTile;
    for (std::int32_t unit = box_.getMin()[0] / unitBits_; unit <= box_.getMax()[0] / unitBits_; ++unit)
      columns_.push_back(columnOf(static_cast<std::size_t>(unit / unitsPerTile - firstTile), unit % unitsPerTile));
  }

  UnitColumn columnOf(std::size_t tile, std::int32_t unit) const {
    if (!pinned_[tile]) return {contents_[tile].value() ? ones.data() : zeros.data(), 0};
    const auto* bytes = reinterpret_cast<const std::uint8_t*>(pinned_[tile]->bits());
    return {bytes + unit * unitBits_ / 8, ~std::size_t{0}};
  }

  bool isUniform() const {
    return std::all_of(contents_.begin(), contents_.end(),
                       [&](const TileSlot& content) { return content.isConstant() && content == contents_[0]; });
  }

  /// Rows of the pinned tiles, whose layout is `tile` but for the origin's x.
  void fetchRows(const BitLayout& tile, std::int32_t firstY, std::int32_t lastY, std::int32_t firstZ,
                 std::int32_t lastZ) {
    const std::int64_t rowCount = std::int64_t{lastY} - firstY + 1;
    const bool uniform = isUniform(), wholeRows = pinned_.size() == 1 && box_.size(0) == tile.rowStride;
    for (std::int32_t z = firstZ; z <= lastZ; ++z) {
      const std::uint64_t target = layout_.bit(box_.getMin()[0], firstY, z);
      const std::uint64_t source = tile.bit(tile.origin[0], firstY, z);
      const auto count = static_cast<std::uint64_t>(box_.size(0) * rowCount);
      if (uniform) {
        fillBits(bits_, target, count, contents_[0].value());
      } else if (wholeRows) {
        copyBits(bits_, target, pinned_[0]->bits(), source, count);
      } else {
        appendSlice(target, source / 8, rowCount, static_cast<std::size_t>(tile.rowStride / 8));
      }
    }
  }

  void appendSlice(std::uint64_t target, std::uint64_t offset, std::int64_t rowCount, std::size_t rowStride) const {
    const CutRows rows{columns_, static_cast<unsigned>(box_.getMin()[0] % unitBits_), box_.size(0), rowStride};
    BitWriter out(bits_, target);
    if (unitBits_ == 64) {
      kernels().appendRows(out, rows, offset, rowCount);
    } else {
      appendRows<std::uint32_t>(out, rows, offset, rowCount);
    }
    out.finish();
  }

  const TileTable& table_;
  const SbBox3i32 box_;
  void* const bits_;
  const BitLayout layout_;
  const std::int32_t unitBits_;
  std::vector<TileSlot> contents_;
  std::vector<Ref<const TilePayload>> pinned_;
  std::vector<UnitColumn> columns_;
};

}  // namespace

void fetchBox(const TileTable& table, const SbBox3i32& box, void* bits) {
  const std::int64_t count = box.size(0) * box.size(1) * box.size(2);
  if (count % 8 != 0) static_cast<std::uint8_t*>(bits)[count / 8] = 0;
  const std::int64_t depth = count < parallelBits ? box.size(2) : slicesPerTask;
  const auto fetchTask = [&](std::int64_t task) {
    const std::int64_t first = box.getMin()[2] + task * depth;
    const std::int64_t last = std::min<std::int64_t>(first + depth - 1, box.getMax()[2]);
    SliceFetch(table, box, bits).fetch(static_cast<std::int32_t>(first), static_cast<std::int32_t>(last));
  };
  if (count < parallelBits) return fetchTask(0);
  parallelFor((box.size(2) + depth - 1) / depth, fetchTask);
}

}  // namespace hxvoxora::detail
