#include "quarn/voxora/morphology/detail/ChangingTiles.h"

#include <algorithm>
#include <optional>

#include "quarn/voxora/tiles/detail/rangeValue.h"

namespace hxvoxora::detail {

ChangingTiles::ChangingTiles(const TileTable& table, const Growth& growth)
    : table_(table), growth_(growth), numbers_(table.grid()), nearEnd_(numbers_.count) {
  if (!growth.isErosion) return;
  for (int axis = 0; axis < 3; ++axis) {
    const std::int64_t left = std::int64_t{table.grid().dimensions()[axis]} - growth.reach;
    nearEnd_[static_cast<std::size_t>(axis)] = std::max<std::int64_t>(0, left) / table.grid().tileDimensions()[axis];
  }
}

bool ChangingTiles::forEach(const Visitor& visit, const std::function<bool()>& mayGoOn) {
  for (std::int64_t z = 0; z < numbers_.count[2]; ++z) {
    if (!mayGoOn()) return false;
    if (restsAsSlice(z)) continue;
    for (std::int64_t y = 0; y < numbers_.count[1]; ++y)
      if (!mayGoOn() || !visitRow(y, z, visit)) return false;
  }
  return true;
}

/// What the tiles of a range have in common.
std::optional<bool> ChangingTiles::isFront(std::int64_t first, std::int64_t count) const {
  const std::optional<bool> value = rangeValue(table_, first, count);
  return value ? std::optional(growth_.isFront(*value)) : std::nullopt;
}

/// Whether no tile of a slice can change: all of them are front, or there is none nearby.
bool ChangingTiles::restsAsSlice(std::int64_t z) const {
  const std::optional<bool> slice = isFront(numbers_.number(0, 0, z), numbers_.perSlice());
  if (!slice || *slice) return slice.has_value();
  if (growth_.isErosion) return false;  // there is front around the volume
  const std::int64_t first = std::max<std::int64_t>(0, z - 1), end = std::min(z + 2, numbers_.count[2]);
  return isFront(numbers_.number(0, 0, first), (end - first) * numbers_.perSlice()) == false;
}

/// Whether the front around the volume reaches the i-th tile along an axis. That of an erosion may come from beyond the
/// next tile, where this is a short one at the end.
bool ChangingTiles::isNearOutside(std::size_t axis, std::int64_t i) const {
  return growth_.isErosion && (i == 0 || i >= nearEnd_[axis]);
}

/// Whether there is no front in a row and in the eight around it, nor one around the volume beside them.
bool ChangingTiles::isRestAround(std::int64_t y, std::int64_t z) const {
  if (isNearOutside(1, y) || isNearOutside(2, z)) return false;
  for (std::int64_t nz = z - 1; nz <= z + 1; ++nz)
    for (std::int64_t ny = y - 1; ny <= y + 1; ++ny)
      if (numbers_.isInside(0, ny, nz) && isFront(numbers_.number(0, ny, nz), numbers_.count[0]) != false) return false;
  return true;
}

bool ChangingTiles::visitRow(std::int64_t y, std::int64_t z, const Visitor& visit) {
  const std::int64_t first = numbers_.number(0, y, z), count = numbers_.count[0];
  const std::optional<bool> row = isFront(first, count);
  if (row == true) return true;
  if (row == false && isRestAround(y, z)) return visitEnds(y, z, visit);
  lookAt(y, z);
  for (std::int64_t x = 0; x < count; ++x) {
    const auto i = static_cast<std::size_t>(x);
    const bool mayChange =
        kinds_[i] == Kind::Mixed ||
        (kinds_[i] == Kind::Rest && ((hasFront_[i] | hasFront_[i + 1] | hasFront_[i + 2]) != 0 || isNearOutside(0, x)));
    if (mayChange && !visit(first + x)) return false;
  }
  return true;
}

/// Visits the tiles of a row that the front around the volume reaches from its ends.
bool ChangingTiles::visitEnds(std::int64_t y, std::int64_t z, const Visitor& visit) {
  if (!growth_.isErosion) return true;
  const std::int64_t first = numbers_.number(0, y, z);
  if (nearEnd_[0] > 0 && !visit(first)) return false;
  for (std::int64_t x = nearEnd_[0]; x < numbers_.count[0]; ++x)
    if (!visit(first + x)) return false;
  return true;
}

/// Fills in what is told of the row at hand.
void ChangingTiles::lookAt(std::int64_t y, std::int64_t z) {
  kinds_.resize(static_cast<std::size_t>(numbers_.count[0]));
  hasFront_.assign(kinds_.size() + 2, isNearOutside(1, y) || isNearOutside(2, z));
  const std::int64_t first = numbers_.number(0, y, z);
  table_.forEachRunIn(first, numbers_.count[0], [&](std::int64_t tile, std::int64_t count, const TileSlot& slot) {
    const bool isFront = growth_.isFront(TileTable::resolved(slot, table_.defaultValue()).value());
    std::fill_n(kinds_.begin() + (tile - first), count,
                slot.isReference() ? Kind::Mixed
                : isFront          ? Kind::Front
                                   : Kind::Rest);
  });
  for (std::int64_t nz = z - 1; nz <= z + 1; ++nz)
    for (std::int64_t ny = y - 1; ny <= y + 1; ++ny) noteFront(ny, nz);
}

void ChangingTiles::noteFront(std::int64_t y, std::int64_t z) {
  if (!numbers_.isInside(0, y, z)) return;
  const std::int64_t first = numbers_.number(0, y, z);
  table_.forEachRunIn(first, numbers_.count[0], [&](std::int64_t tile, std::int64_t count, const TileSlot& slot) {
    const bool isRest =
        !slot.isReference() && !growth_.isFront(TileTable::resolved(slot, table_.defaultValue()).value());
    if (!isRest) std::fill_n(hasFront_.begin() + 1 + (tile - first), count, 1);
  });
}

}  // namespace hxvoxora::detail
