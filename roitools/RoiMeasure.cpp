#include "roitools/RoiMeasure.h"

#include <limits>
#include <tbb/blocked_range.h>
#include <tbb/parallel_reduce.h>

#include "quarn/kernel/fields/HxUniformScalarField3.h"

namespace roitools {

namespace {

using hxvoxora::TileSnapshot;

constexpr std::int64_t kTilesPerTask = 8;

/// Sum of the whole numbers first to last.
std::uint64_t sumOfRange(std::int64_t first, std::int64_t last) {
  return static_cast<std::uint64_t>((first + last) * (last - first + 1) / 2);
}

void measureTile(const TileSnapshot& mask, std::int64_t tile, RoiMeasure& measure) {
  const SbBox3i32 box = mask.tileBox(tile);
  if (mask.kind(tile) == TileSnapshot::Kind::One) {
    measure.addBox(box);
    return;
  }
  mask.forEachRunInTile(tile, box, [&](int y, int z, int x0, int x1) { measure.addRun(y, z, x0, x1); });
}

template <class T>
void measureValues(const TileSnapshot& mask, std::int64_t tile, const T* values, Moments& moments) {
  const auto nx = static_cast<std::uint64_t>(mask.dimensions()[0]);
  const auto ny = static_cast<std::uint64_t>(mask.dimensions()[1]);
  mask.forEachRunInTile(tile, mask.tileBox(tile), [&](int y, int z, int x0, int x1) {
    const std::uint64_t row = (static_cast<std::uint64_t>(z) * ny + static_cast<std::uint64_t>(y)) * nx;
    moments.add(values + row + static_cast<std::uint64_t>(x0), static_cast<std::uint64_t>(x1 - x0));
  });
}

}  // namespace

RoiMeasure::RoiMeasure() {
  constexpr int low = std::numeric_limits<int>::min();
  constexpr int high = std::numeric_limits<int>::max();
  box.setValue(high, low, high, low, high, low);
}

std::array<double, 3> RoiMeasure::centroidIndex() const {
  std::array<double, 3> centroid;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    centroid[axis] = static_cast<double>(indexSum[axis]) / static_cast<double>(voxels);
  }
  return centroid;
}

void RoiMeasure::addBox(const SbBox3i32& voxelBox) {
  const auto& low = voxelBox.getMin();
  const auto& high = voxelBox.getMax();
  std::uint64_t count = 1;
  for (int axis = 0; axis < 3; ++axis) count *= static_cast<std::uint64_t>(voxelBox.size(axis));
  for (int axis = 0; axis < 3; ++axis) {
    const std::uint64_t others = count / static_cast<std::uint64_t>(voxelBox.size(axis));
    indexSum[static_cast<std::size_t>(axis)] += others * sumOfRange(low[axis], high[axis]);
  }
  voxels += count;
  McBox3i added;
  added.setValue(low[0], high[0], low[1], high[1], low[2], high[2]);
  box.extendBy(added);
}

void RoiMeasure::addRun(int y, int z, int x0, int x1) {
  const auto count = static_cast<std::uint64_t>(x1 - x0);
  voxels += count;
  indexSum[0] += sumOfRange(x0, x1 - 1);
  indexSum[1] += count * static_cast<std::uint64_t>(y);
  indexSum[2] += count * static_cast<std::uint64_t>(z);
  McBox3i added;
  added.setValue(x0, x1 - 1, y, y, z, z);
  box.extendBy(added);
}

void RoiMeasure::join(const RoiMeasure& other) {
  voxels += other.voxels;
  box.extendBy(other.box);
  for (std::size_t axis = 0; axis < 3; ++axis) indexSum[axis] += other.indexSum[axis];
  values.join(other.values);
}

RoiMeasure measure(const TileSnapshot& mask, const HxUniformScalarField3* image, const std::function<void()>& ask) {
  const auto overTiles = [&](const tbb::blocked_range<std::int64_t>& tiles, RoiMeasure sum) {
    if (ask) ask();
    for (std::int64_t tile = tiles.begin(); tile != tiles.end(); ++tile) {
      if (mask.kind(tile) == TileSnapshot::Kind::Zero) continue;
      measureTile(mask, tile, sum);
      if (image) image->visitValues([&](const auto* values) { measureValues(mask, tile, values, sum.values); });
    }
    return sum;
  };
  const auto joined = [](RoiMeasure left, const RoiMeasure& right) {
    left.join(right);
    return left;
  };
  return tbb::parallel_deterministic_reduce(tbb::blocked_range<std::int64_t>(0, mask.tileCount(), kTilesPerTask),
                                            RoiMeasure(), overTiles, joined);
}

}  // namespace roitools
