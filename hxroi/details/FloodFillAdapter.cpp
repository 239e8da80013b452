#include "hxroi/details/FloodFillAdapter.h"

#include "quarn/base/McDim3l.h"

namespace hxroi::details {

FloodFillAdapter::FloodFillAdapter(const McVec3i& dimensions)
    : nx_(static_cast<std::uint64_t>(dimensions.x)),
      ny_(static_cast<std::uint64_t>(dimensions.y)),
      visited_(static_cast<std::uint64_t>(McDim3l(dimensions).voxelCount())) {}

void FloodFillAdapter::visitRun(int first, int last, int y, int z) {
  visited_.fill(indexOf(first, y, z), static_cast<std::uint64_t>(last - first) + 1, true);
  box_.extendBy(McBox3i(first, last, y, y, z, z));
}

void FloodFillAdapter::clear() {
  const auto width = static_cast<std::uint64_t>(sizeOf(box_).x);
  for (int z = box_[4]; z <= box_[5]; ++z) {
    for (int y = box_[2]; y <= box_[3]; ++y) visited_.fill(indexOf(box_[0], y, z), width, false);
  }
  box_ = emptyBox<int>();
}

}  // namespace hxroi::details
