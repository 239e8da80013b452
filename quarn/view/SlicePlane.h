#pragma once

#include <QString>

#include "quarn/base/McDim3l.h"
#include "quarn/kernel/fields/HxGeometry3.h"
#include "quarn/view/LatticeMap.h"
#include "quarn/view/export.h"

namespace quarn::view {

/// Where the pixels of a slice picture lie in the world.
struct QUARN_VIEW_API SlicePlane {
  /// A picture of `width` by `height` pixels of slice `index` across lattice axis `axis`, as large as it fits. A slice
  /// across is seen from the feet with the front up, one along the front from the front, one along the sides from the
  /// left: so a patient's left is on the right hand.
  static SlicePlane across(const McDim3l& dimensions, const HxGeometry3& geometry, int axis, double index, int width,
                           int height);

  Point3 first;        ///< the centre of the upper left pixel
  Point3 right, down;  ///< from one pixel to the next
  int width = 0;
  int height = 0;

  Point3 at(double x, double y) const {
    Point3 place = first;
    for (std::size_t i = 0; i < 3; ++i) place[i] += x * right[i] + y * down[i];
    return place;
  }
  /// Length of a step to the next pixel.
  double pixelSize() const;
  /// Towards which side of a patient a direction goes: "L", "R", "P", "A", "S" or "I".
  static QString sideOf(const Point3& direction);
};

}  // namespace quarn::view
