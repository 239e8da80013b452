#include "quarn/voxora/tiles/detail/rangeValue.h"

#include <algorithm>

#include "quarn/voxora/tiles/detail/TileNode.h"

namespace hxvoxora::detail {

namespace {

/// Looks whether all tiles of a range are one constant.
class RangeValue {
public:
  RangeValue(const TileTable& table, std::int64_t first, std::int64_t count)
      : table_(table), first_(first), end_(first + count) {
    isShared_ = look(table.root(), table.levels(), 0);
  }

  std::optional<bool> get() const { return isShared_ ? value_ : std::nullopt; }

private:
  bool look(const TileSlot& slot, int levels, std::int64_t base) {
    if (!slot.isReference()) {
      const bool value = TileTable::resolved(slot, table_.defaultValue()).value();
      if (!value_) value_ = value;
      return *value_ == value;
    }
    if (levels == 0) return false;
    const std::int64_t below = std::int64_t{1} << (TileNode::fanoutBits * (levels - 1));
    const std::int64_t firstChild = std::max<std::int64_t>(0, (first_ - base) / below);
    const std::int64_t endChild = std::min(TileNode::fanout, (end_ - base + below - 1) / below);
    for (std::int64_t i = firstChild; i < endChild; ++i) {
      if (!look(slot.node().slots[static_cast<std::size_t>(i)], levels - 1, base + i * below)) return false;
    }
    return true;
  }

  const TileTable& table_;
  const std::int64_t first_, end_;
  std::optional<bool> value_;
  bool isShared_ = false;
};

}  // namespace

std::optional<bool> rangeValue(const TileTable& table, std::int64_t first, std::int64_t count) {
  return RangeValue(table, first, count).get();
}

}  // namespace hxvoxora::detail
