#include "quarn/voxora/files/detail/tilePadding.h"

#include <algorithm>

namespace hxvoxora::detail {

namespace {

bool isClearFrom(std::span<const std::byte> row, int firstBit) {
  if (firstBit % 8 != 0) {
    const std::byte tail{static_cast<unsigned char>(0xFF >> firstBit % 8)};
    if ((row[static_cast<std::size_t>(firstBit / 8)] & tail) != std::byte{0}) return false;
  }
  const std::span<const std::byte> rest = row.subspan(static_cast<std::size_t>((firstBit + 7) / 8));
  return std::all_of(rest.begin(), rest.end(), [](std::byte b) { return b == std::byte{0}; });
}

}  // namespace

bool isPaddingClear(std::span<const std::byte> bits, const McVec3i& tileDimensions, const McVec3i& extent) {
  if (extent == tileDimensions) return true;
  const auto rowBytes = static_cast<std::size_t>(tileDimensions.x / 8);
  for (int z = 0; z < tileDimensions.z; ++z) {
    for (int y = 0; y < tileDimensions.y; ++y) {
      const bool inside = z < extent.z && y < extent.y;
      if (!isClearFrom(bits.first(rowBytes), inside ? extent.x : 0)) return false;
      bits = bits.subspan(rowBytes);
    }
  }
  return true;
}

}  // namespace hxvoxora::detail
