#pragma once

#include <algorithm>
#include <cmath>
#include <limits>

#include "quarn/view/LatticeMap.h"

namespace quarn::view {

/// A box in the world, empty at first.
struct Bounds {
  static constexpr double FAR = std::numeric_limits<double>::infinity();

  Point3 min{FAR, FAR, FAR};
  Point3 max{-FAR, -FAR, -FAR};

  bool isEmpty() const { return min[0] > max[0]; }

  void add(const Point3& point) {
    for (std::size_t axis = 0; axis < 3; ++axis) {
      min[axis] = std::min(min[axis], point[axis]);
      max[axis] = std::max(max[axis], point[axis]);
    }
  }
  /// The eight corners of a box in a lattice.
  void add(const LatticeMap& map, const Point3& low, const Point3& high) {
    for (unsigned corner = 0; corner < 8; ++corner)
      add(map.toWorld({corner & 1 ? high[0] : low[0], corner & 2 ? high[1] : low[1], corner & 4 ? high[2] : low[2]}));
  }

  Point3 centre() const {
    return isEmpty() ? Point3{0, 0, 0} : Point3{(min[0] + max[0]) / 2, (min[1] + max[1]) / 2, (min[2] + max[2]) / 2};
  }
  /// Half of the diagonal; 1 for the empty box and for a point.
  double radius() const {
    if (isEmpty()) return 1;
    const double half = std::hypot(max[0] - min[0], max[1] - min[1], max[2] - min[2]) / 2;
    return half > 0 ? half : 1;
  }
};

}  // namespace quarn::view
