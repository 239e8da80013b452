#pragma once

#include <array>

#include "quarn/kernel/fields/HxGeometry3.h"
#include "quarn/view/export.h"

namespace quarn::view {

using Point3 = std::array<double, 3>;

/// The way between the world and the voxels of a lattice. Whole indices are the centres of voxels.
class QUARN_VIEW_API LatticeMap {
public:
  /// Throws McException for a geometry whose axes lie in one plane.
  explicit LatticeMap(const HxGeometry3& geometry);

  Point3 toWorld(const Point3& index) const { return apply(matrix_, index, origin_); }
  Point3 toIndex(const Point3& world) const;
  /// The same for steps, which have a direction and a length but no place.
  Point3 stepToWorld(const Point3& step) const { return apply(matrix_, step, {0, 0, 0}); }
  Point3 stepToIndex(const Point3& step) const { return apply(inverse_, step, {0, 0, 0}); }
  /// True when the lattice axes are a left-handed system.
  bool isMirrored() const { return determinant_ < 0; }
  /// The shortest edge of a voxel.
  double finestStep() const;

private:
  using Matrix = std::array<double, 9>;

  static Point3 apply(const Matrix& matrix, const Point3& vector, const Point3& offset);

  Matrix matrix_;
  Matrix inverse_;
  Point3 origin_;
  double determinant_;
};

}  // namespace quarn::view
