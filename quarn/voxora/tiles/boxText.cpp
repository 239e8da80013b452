#include "quarn/voxora/tiles/detail/boxText.h"

#include "quarn/base/McException.h"

namespace hxvoxora::detail {

namespace {

std::string cornerText(const SbVec3i32& corner) {
  return "(" + std::to_string(corner[0]) + ", " + std::to_string(corner[1]) + ", " + std::to_string(corner[2]) + ")";
}

}  // namespace

std::string boxText(const SbBox3i32& box) {
  return cornerText(box.getMin()) + " to " + cornerText(box.getMax());
}

void requireInside(const SbBox3i32& box, const TileGrid& grid) {
  if (grid.box().contains(box)) return;
  const SbVec3i32& dimensions = grid.dimensions();
  throw McException("The box " + boxText(box) + " reaches outside the volume of " + std::to_string(dimensions[0]) +
                    " x " + std::to_string(dimensions[1]) + " x " + std::to_string(dimensions[2]) + " voxels.");
}

void requireRoom(const SbBox3i32& box, const TileGrid& grid, std::size_t byteSize) {
  requireInside(box, grid);
  const auto sliceBits = static_cast<std::uint64_t>(box.size(0)) * static_cast<std::uint64_t>(box.size(1));
  const auto depth = static_cast<std::uint64_t>(box.size(2));
  const std::uint64_t heldBits = std::uint64_t{byteSize} * 8;
  if (sliceBits == 0 || depth <= heldBits / sliceBits) return;
  throw McException("A buffer of " + std::to_string(byteSize) + " bytes is too small for the box " + boxText(box) +
                    ".");
}

}  // namespace hxvoxora::detail
