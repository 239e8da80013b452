#include "quarn/base/McBox3f.h"

#include <algorithm>
#include <limits>

McVec3f McBox3f::getVoxelSize(const McVec3i& dimensions) const noexcept {
  McVec3f size;
  if (isEmpty()) return size;
  for (int axis = 0; axis < 3; ++axis) {
    const double length = static_cast<double>((*this)[2 * axis + 1]) - (*this)[2 * axis];
    const int steps = std::max(dimensions[axis], 2) - 1;
    // A box over the whole range of float is longer than any float.
    size[axis] = static_cast<float>(std::min<double>(length / steps, std::numeric_limits<float>::max()));
  }
  return size;
}
