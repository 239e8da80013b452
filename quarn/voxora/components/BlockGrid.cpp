#include "quarn/voxora/components/detail/BlockGrid.h"

#include <algorithm>

namespace hxvoxora::detail {

namespace {

constexpr std::int32_t longestEdge = 64;

}  // namespace

BlockGrid::BlockGrid(const TileTable& table) : table_(table) {
  for (int axis = 0; axis < 3; ++axis) {
    const std::int32_t tile = grid().tileDimensions()[axis], voxels = grid().dimensions()[axis];
    if (tile == 0) return;  // a volume without voxels
    blockSize_[axis] = std::min(tile, longestEdge);
    const auto index = static_cast<std::size_t>(axis);
    blocksPerTileAxis_[index] = tile / blockSize_[axis];
    blocksPerAxis_[index] = (voxels - 1) / blockSize_[axis] + 1;
    tilesPerAxis_[index] = (voxels - 1) / tile + 1;
    blocksPerTile_ *= blocksPerTileAxis_[index];
  }
}

BlockPlace BlockGrid::placeOf(std::int64_t block) const {
  std::int64_t tile = block / blocksPerTile_, within = block % blocksPerTile_;
  BlockPlace place{};
  for (std::size_t axis = 0; axis < 3; ++axis) {
    place[axis] = static_cast<std::int32_t>(tile % tilesPerAxis_[axis] * blocksPerTileAxis_[axis] +
                                            within % blocksPerTileAxis_[axis]);
    tile /= tilesPerAxis_[axis];
    within /= blocksPerTileAxis_[axis];
  }
  return place;
}

std::int64_t BlockGrid::blockAt(const BlockPlace& place) const {
  std::int64_t tile = 0, within = 0;
  for (std::size_t axis = 3; axis-- > 0;) {
    tile = tile * tilesPerAxis_[axis] + place[axis] / blocksPerTileAxis_[axis];
    within = within * blocksPerTileAxis_[axis] + place[axis] % blocksPerTileAxis_[axis];
  }
  return tile * blocksPerTile_ + within;
}

bool BlockGrid::contains(const BlockPlace& place) const {
  for (std::size_t axis = 0; axis < 3; ++axis)
    if (place[axis] < 0 || place[axis] >= blocksPerAxis_[axis]) return false;
  return true;
}

BlockPlace BlockGrid::placeOfVoxel(const SbVec3i32& voxel) const {
  return {voxel[0] / blockSize_[0], voxel[1] / blockSize_[1], voxel[2] / blockSize_[2]};
}

SbVec3i32 BlockGrid::origin(const BlockPlace& place) const {
  return {place[0] * blockSize_[0], place[1] * blockSize_[1], place[2] * blockSize_[2]};
}

SbVec3i32 BlockGrid::extent(const BlockPlace& place) const {
  const SbVec3i32 first = origin(place);
  SbVec3i32 voxels;
  for (int axis = 0; axis < 3; ++axis)
    voxels[axis] = std::min(blockSize_[axis], grid().dimensions()[axis] - first[axis]);
  return voxels;
}

std::size_t BlockGrid::byteOffset(const BlockPlace& place) const {
  const SbVec3i32 first = origin(place);
  const SbVec3i32& tile = grid().tileDimensions();
  const std::int64_t bit =
      (std::int64_t{first[2] % tile[2]} * tile[1] + first[1] % tile[1]) * tile[0] + first[0] % tile[0];
  return static_cast<std::size_t>(bit / 8);
}

}  // namespace hxvoxora::detail
