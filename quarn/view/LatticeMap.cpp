#include "quarn/view/LatticeMap.h"

#include <algorithm>
#include <cmath>

#include "quarn/base/McException.h"

namespace quarn::view {

LatticeMap::LatticeMap(const HxGeometry3& geometry) : origin_(geometry.origin) {
  for (std::size_t i = 0; i < 9; ++i) matrix_[i] = geometry.direction[i] * geometry.voxelSize[i % 3];
  const Matrix& m = matrix_;
  const Matrix cofactors{m[4] * m[8] - m[5] * m[7], m[2] * m[7] - m[1] * m[8], m[1] * m[5] - m[2] * m[4],
                         m[5] * m[6] - m[3] * m[8], m[0] * m[8] - m[2] * m[6], m[2] * m[3] - m[0] * m[5],
                         m[3] * m[7] - m[4] * m[6], m[1] * m[6] - m[0] * m[7], m[0] * m[4] - m[1] * m[3]};
  determinant_ = m[0] * cofactors[0] + m[1] * cofactors[3] + m[2] * cofactors[6];
  if (!std::isfinite(determinant_) || determinant_ == 0)
    throw McException("The axes of the lattice do not span a volume.");
  for (std::size_t i = 0; i < 9; ++i) inverse_[i] = cofactors[i] / determinant_;
}

Point3 LatticeMap::apply(const Matrix& matrix, const Point3& vector, const Point3& offset) {
  Point3 result = offset;
  for (std::size_t row = 0; row < 3; ++row)
    for (std::size_t column = 0; column < 3; ++column) result[row] += matrix[3 * row + column] * vector[column];
  return result;
}

Point3 LatticeMap::toIndex(const Point3& world) const {
  return stepToIndex({world[0] - origin_[0], world[1] - origin_[1], world[2] - origin_[2]});
}

double LatticeMap::finestStep() const {
  double finest = INFINITY;
  for (std::size_t axis = 0; axis < 3; ++axis)
    finest = std::min(finest, std::hypot(matrix_[axis], matrix_[3 + axis], matrix_[6 + axis]));
  return finest;
}

}  // namespace quarn::view
