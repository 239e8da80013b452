#include "quarn/voxora/tiles/TileGrid.h"

#include <algorithm>
#include <bit>
#include <string>

#include "quarn/base/McException.h"

namespace hxvoxora {

namespace {

constexpr char axisNames[] = "xyz";

void checkDimension(int axis, std::int32_t voxels) {
  if (voxels > 0) return;
  throw McException("The volume's dimension along " + std::string(1, axisNames[axis]) + " must be positive, not " +
                    std::to_string(voxels) + ".");
}

void checkTileDimension(int axis, std::int32_t voxels) {
  const std::int32_t smallest = axis == 0 ? 32 : 8;
  if (voxels >= smallest && voxels <= 256 && std::has_single_bit(static_cast<std::uint32_t>(voxels))) return;
  throw McException("The tile dimension along " + std::string(1, axisNames[axis]) + " must be a power of two from " +
                    std::to_string(smallest) + " to 256, not " + std::to_string(voxels) + ".");
}

/// Product of the counts; maximumTileCount + 1 or more when that is exceeded.
std::int64_t limitedProduct(const std::array<std::int64_t, 3>& counts) {
  std::int64_t product = counts[0];
  for (int axis = 1; axis < 3 && product <= TileGrid::maximumTileCount; ++axis)
    product =
        product > TileGrid::maximumTileCount / counts[axis] ? TileGrid::maximumTileCount + 1 : product * counts[axis];
  return product;
}

}  // namespace

TileGrid::TileGrid(const SbVec3i32& dimensions, const SbVec3i32& tileDimensions)
    : dimensions_(dimensions), tileDimensions_(tileDimensions), tileByteSize_(1) {
  for (int axis = 0; axis < 3; ++axis) {
    checkDimension(axis, dimensions[axis]);
    checkTileDimension(axis, tileDimensions[axis]);
    tilesPerAxis_[axis] = (std::int64_t{dimensions[axis]} + tileDimensions[axis] - 1) / tileDimensions[axis];
    tileByteSize_ *= static_cast<std::size_t>(tileDimensions[axis]);
  }
  tileByteSize_ /= 8;
  tileCount_ = limitedProduct(tilesPerAxis_);
  if (tileCount_ > maximumTileCount)
    throw McException("A volume of " + std::to_string(dimensions[0]) + " x " + std::to_string(dimensions[1]) + " x " +
                      std::to_string(dimensions[2]) + " voxels has more than " + std::to_string(maximumTileCount) +
                      " tiles.");
}

SbBox3i32 TileGrid::box() const {
  if (isEmpty()) return SbBox3i32();
  return SbBox3i32({0, 0, 0}, {dimensions_[0] - 1, dimensions_[1] - 1, dimensions_[2] - 1});
}

std::array<std::int64_t, 3> TileGrid::place(std::int64_t tile) const {
  return {tile % tilesPerAxis_[0], tile / tilesPerAxis_[0] % tilesPerAxis_[1],
          tile / tilesPerAxis_[0] / tilesPerAxis_[1]};
}

SbBox3i32 TileGrid::tileBox(std::int64_t tile) const {
  const std::array<std::int64_t, 3> at = place(tile);
  SbVec3i32 min, max;
  for (int axis = 0; axis < 3; ++axis) {
    const std::int64_t first = at[axis] * tileDimensions_[axis];
    min[axis] = static_cast<std::int32_t>(first);
    max[axis] = static_cast<std::int32_t>(std::min<std::int64_t>(first + tileDimensions_[axis], dimensions_[axis]) - 1);
  }
  return SbBox3i32(min, max);
}

bool TileGrid::isCut(std::int64_t tile) const {
  const SbBox3i32 box = tileBox(tile);
  for (int axis = 0; axis < 3; ++axis)
    if (box.size(axis) != tileDimensions_[axis]) return true;
  return false;
}

BitLayout TileGrid::tileLayout(std::int64_t tile) const {
  return {tileBox(tile).getMin(), tileDimensions_[0], std::int64_t{tileDimensions_[0]} * tileDimensions_[1]};
}

std::int64_t TileGrid::Range::operator[](std::int64_t i) const {
  const std::int64_t x = first_[0] + i % count_[0];
  const std::int64_t y = first_[1] + i / count_[0] % count_[1];
  const std::int64_t z = first_[2] + i / count_[0] / count_[1];
  return (z * tilesPerAxis_[1] + y) * tilesPerAxis_[0] + x;
}

TileGrid::Range TileGrid::tilesOf(const SbBox3i32& wanted) const {
  Range range;
  const SbBox3i32 inside = wanted.intersection(box());
  if (inside.isEmpty()) return range;
  range.tilesPerAxis_ = tilesPerAxis_;
  for (int axis = 0; axis < 3; ++axis) {
    range.first_[axis] = inside.getMin()[axis] / tileDimensions_[axis];
    range.count_[axis] = inside.getMax()[axis] / tileDimensions_[axis] - range.first_[axis] + 1;
  }
  return range;
}

}  // namespace hxvoxora
