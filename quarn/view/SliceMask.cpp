#include "quarn/view/detail/SliceMask.h"

#include <algorithm>
#include <cmath>

#include "quarn/voxora/nodes/SoVolumeMask.h"

namespace quarn::view::detail {

namespace {

/// The coarsest level whose voxels are not larger than pixels.
int levelForPixels(const LatticeMap& map, double pixelSize, int levels) {
  const double ratio = pixelSize / map.finestStep();
  const int level = ratio >= 2 ? static_cast<int>(std::log2(ratio)) : 0;
  return std::clamp(level, 0, std::max(0, levels - 1));
}

int voxelOf(double place) {
  return static_cast<int>(std::floor(std::clamp(place, -2.0, 2147483000.0)));
}

/// The voxels that the four corners of a picture span.
SbBox3i32 windowOf(const Point3& first, const Point3& right, const Point3& down, const SlicePlane& plane) {
  Point3 low{1e300, 1e300, 1e300}, high{-1e300, -1e300, -1e300};
  for (unsigned corner = 0; corner < 4; ++corner) {
    const double x = corner & 1 ? plane.width - 1 : 0, y = corner & 2 ? plane.height - 1 : 0;
    for (std::size_t i = 0; i < 3; ++i) {
      const double place = first[i] + x * right[i] + y * down[i];
      low[i] = std::min(low[i], place);
      high[i] = std::max(high[i], place);
    }
  }
  return {SbVec3i32(voxelOf(low[0]), voxelOf(low[1]), voxelOf(low[2])),
          SbVec3i32(voxelOf(high[0]), voxelOf(high[1]), voxelOf(high[2]))};
}

SbBox3i32 atLevel(const SbBox3i32& box, int level) {
  const auto shifted = [level](const SbVec3i32& v) { return SbVec3i32(v[0] >> level, v[1] >> level, v[2] >> level); };
  return {shifted(box.getMin()), shifted(box.getMax())};
}

}  // namespace

SliceMask::SliceMask(const MaskLook& look, const SbBox3i32& box, const LatticeMap& map, const SlicePlane& plane)
    : look_(&look), width_(plane.width) {
  const int level = levelForPixels(map, plane.pixelSize(), look.node->levelCount());
  const double scale = std::ldexp(1.0, -level);
  first_ = map.toIndex(plane.first);
  right_ = map.stepToIndex(plane.right);
  down_ = map.stepToIndex(plane.down);
  for (std::size_t i = 0; i < 3; ++i) {
    first_[i] = (first_[i] + 0.5) * scale;
    right_[i] *= scale;
    down_[i] *= scale;
  }
  if (box.isEmpty()) return;
  const SbBox3i32 wanted = atLevel(box, level).intersection(windowOf(first_, right_, down_, plane));
  if (wanted.isEmpty()) return;
  bits_.emplace(level == 0 ? look.content : look.node->snapshot(level), wanted);
}

std::pair<int, int> SliceMask::reach(int y) const {
  if (!bits_) return {0, 0};
  double begin = 0, end = width_ - 1;
  for (std::size_t i = 0; i < 3; ++i) {
    const double start = first_[i] + y * down_[i];
    const double low = bits_->box().getMin()[static_cast<int>(i)];
    const double high = bits_->box().getMax()[static_cast<int>(i)] + 1;
    if (std::abs(right_[i]) < 1e-12) {
      if (start < low || start >= high) return {0, 0};
      continue;
    }
    const double a = (low - start) / right_[i], b = (high - start) / right_[i];
    begin = std::max(begin, std::min(a, b));
    end = std::min(end, std::max(a, b));
  }
  if (begin > end) return {0, 0};
  return {std::max(0, static_cast<int>(begin) - 1), std::min(width_, static_cast<int>(end) + 2)};
}

void SliceMask::mark(int y, int x0, int x1, unsigned char* marks) const {
  const SbVec3i32& low = bits_->box().getMin();
  const SbVec3i32& high = bits_->box().getMax();
  for (int x = x0; x < x1; ++x) {
    int voxel[3];
    bool isInside = true;
    for (std::size_t i = 0; i < 3; ++i) {
      voxel[i] = voxelOf(first_[i] + x * right_[i] + y * down_[i]);
      isInside = isInside && voxel[i] >= low[static_cast<int>(i)] && voxel[i] <= high[static_cast<int>(i)];
    }
    marks[x - x0] = isInside && bits_->test(voxel[0], voxel[1], voxel[2]);
  }
}

}  // namespace quarn::view::detail
