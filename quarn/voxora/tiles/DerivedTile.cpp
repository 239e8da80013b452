#include "quarn/voxora/tiles/detail/DerivedTile.h"

#include <cstring>
#include <utility>

#include "quarn/voxora/bits/BitLevels.h"
#include "quarn/voxora/bits/BitRows.h"

namespace hxvoxora::detail {

DerivedTile::DerivedTile(Children children, const SbVec3i32& tileDimensions, const SbVec3i32& extent)
    : children_(std::move(children)), tileDimensions_(tileDimensions), extent_(extent) {}

Ref<const TilePayload> DerivedTile::load(std::uint64_t) const {
  const SbVec3i32& size = tileDimensions_;
  const auto byteSize = static_cast<std::size_t>(std::int64_t{size[0]} * size[1] * size[2] / 8);
  const Ref<TilePayload> payload = TilePayload::make(byteSize, TilePayload::Purpose::Load);
  std::memset(payload->bits(), 0, byteSize);
  for (int place = 0; place < 8; ++place) addChild(place, payload->bits());
  return payload;
}

/// An eighth of the tile. The padding of a tile with bits is clear, so that of the result is too.
void DerivedTile::addChild(int place, std::byte* bits) const {
  const TileSlot& child = children_[static_cast<std::size_t>(place)];
  if (child.isConstant() && !child.value()) return;
  const SbVec3i32 half(tileDimensions_[0] / 2, tileDimensions_[1] / 2, tileDimensions_[2] / 2);
  const SbVec3i32 from((place & 1) * half[0], (place >> 1 & 1) * half[1], (place >> 2) * half[2]);
  const BitLayout layout{{0, 0, 0}, tileDimensions_[0], std::int64_t{tileDimensions_[0]} * tileDimensions_[1]};
  if (child.isConstant()) {
    const SbBox3i32 eighth(from, {from[0] + half[0] - 1, from[1] + half[1] - 1, from[2] + half[2] - 1});
    fillRows(bits, layout, eighth.intersection({{0, 0, 0}, {extent_[0] - 1, extent_[1] - 1, extent_[2] - 1}}), true);
    return;
  }
  // What stands in a file is not brought into memory for this alone; what had to be worked out stays for the next.
  const TileCell& cell = child.cell();
  const Ref<const TilePayload> fine = cell.source() ? cell.pinForOnce() : cell.pin();
  const auto rowBytes = static_cast<std::size_t>(tileDimensions_[0] / 8);
  const std::size_t sliceBytes = rowBytes * static_cast<std::size_t>(tileDimensions_[1]);
  for (std::int32_t z = 0; z < half[2]; ++z) {
    for (std::int32_t y = 0; y < half[1]; ++y) {
      const std::byte* row =
          fine->bits() + static_cast<std::size_t>(2 * z) * sliceBytes + static_cast<std::size_t>(2 * y) * rowBytes;
      halveRows(bits + layout.bit(from[0], from[1] + y, from[2] + z) / 8, row, row + rowBytes, row + sliceBytes,
                row + sliceBytes + rowBytes, rowBytes);
    }
  }
}

}  // namespace hxvoxora::detail
