#include "quarn/formats/detail/matrixGeometry.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "quarn/formats/detail/fault.h"

namespace quarn::formats::detail {

namespace {

constexpr std::size_t sizesOffset = 80;  // pixdim[1] to pixdim[3]
constexpr std::size_t unitsOffset = 123;
constexpr std::size_t quaternionCodeOffset = 252;
constexpr std::size_t matrixCodeOffset = 254;
constexpr std::size_t quaternionOffset = 256;
constexpr std::size_t quaternionOriginOffset = 268;
constexpr std::size_t matrixOffset = 280;

constexpr double smallestVoxel = 1e-6;
constexpr double largestVoxel = 1e6;
constexpr double farthest = 1e9;
constexpr double smallestElement = 1e-30;  ///< below lie the products that keep the toolkit's decomposition from ending
constexpr double longestQuaternion = 1.001;
constexpr double perpendicular = 1e-4;  ///< largest cosine of two axes that counts as a right angle
constexpr double flat = 1e-3;           ///< largest volume of three unit axes that counts as none

using Axis = std::array<double, 3>;

/// The matrix that leads from voxel indices to the world: a column per lattice axis, and the origin.
struct Matrix {
  std::array<Axis, 3> axes;
  Axis origin;
};

double dot(const Axis& a, const Axis& b) {
  return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

Axis cross(const Axis& a, const Axis& b) {
  return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

double length(const Axis& axis) {
  return std::sqrt(dot(axis, axis));
}

Axis divided(const Axis& axis, double divisor) {
  return {axis[0] / divisor, axis[1] / divisor, axis[2] / divisor};
}

[[noreturn]] void refuseElement(double value, const char* name, const QString& file) {
  refuse(file, QStringLiteral("header field %1 holds %2, which is out of range")
                   .arg(QLatin1String(name), QString::number(value)));
}

/// Three floats that must lie within `limit` of 0.
Axis readThree(const NiftiFields& fields, std::size_t offset, std::size_t step, double limit, const char* name,
               const QString& file) {
  Axis result;
  for (std::size_t i = 0; i < 3; ++i) {
    result[i] = fields.get<float>(offset + step * i);
    if (!(std::abs(result[i]) <= limit)) refuseElement(result[i], name, file);
  }
  return result;
}

void checkNotTiny(const Axis& elements, const char* name, const QString& file) {
  for (const double element : elements) {
    if (element != 0.0 && std::abs(element) < smallestElement) refuseElement(element, name, file);
  }
}

void checkVoxelSize(double size, const char* name, const QString& file) {
  if (size >= smallestVoxel && size <= largestVoxel) return;
  refuse(file,
         QStringLiteral("header field %1 gives voxels a size of %2").arg(QLatin1String(name), QString::number(size)));
}

void checkSizes(const NiftiFields& fields, const QString& file) {
  for (const double size : readThree(fields, sizesOffset, 4, largestVoxel, "pixdim", file)) {
    checkVoxelSize(size, "pixdim", file);
  }
}

void checkQuaternion(const NiftiFields& fields, const QString& file) {
  if (fields.get<std::int16_t>(quaternionCodeOffset) <= 0) return;
  const Axis quaternion = readThree(fields, quaternionOffset, 4, longestQuaternion, "quatern", file);
  if (length(quaternion) > longestQuaternion) {
    refuse(file, QStringLiteral("header field quatern is longer than 1"));
  }
  readThree(fields, quaternionOriginOffset, 4, farthest, "qoffset", file);
}

Matrix readMatrix(const NiftiFields& fields, const QString& file) {
  Matrix matrix;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    matrix.axes[axis] = readThree(fields, matrixOffset + 4 * axis, 16, largestVoxel, "srow", file);
    checkNotTiny(matrix.axes[axis], "srow", file);
    checkVoxelSize(length(matrix.axes[axis]), "srow", file);
  }
  matrix.origin = readThree(fields, matrixOffset + 12, 16, farthest, "srow", file);
  checkNotTiny(matrix.origin, "srow", file);
  const double volume = dot(matrix.axes[0], cross(matrix.axes[1], matrix.axes[2]));
  const double box = length(matrix.axes[0]) * length(matrix.axes[1]) * length(matrix.axes[2]);
  if (std::abs(volume) <= flat * box) refuse(file, QStringLiteral("header field srow has axes that lie in one plane"));
  return matrix;
}

double millimetresPerUnit(const NiftiFields& fields) {
  switch (fields.get<std::uint8_t>(unitsOffset) & 0x07) {
    case 1:
      return 1000.0;  // metres
    case 3:
      return 0.001;  // micrometres
    default:
      return 1.0;
  }
}

/// The matrix of a file counts x to the right and y to the front.
HxGeometry3 toGeometry(const Matrix& matrix, double millimetres) {
  constexpr Axis turn = {-1.0, -1.0, 1.0};
  HxGeometry3 geometry;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    const double size = length(matrix.axes[axis]);
    geometry.voxelSize[axis] = size * millimetres;
    geometry.origin[axis] = turn[axis] * matrix.origin[axis] * millimetres + 0.0;  // + 0.0: no negative zero
    const Axis direction = divided(matrix.axes[axis], size);
    for (std::size_t row = 0; row < 3; ++row) geometry.direction[3 * row + axis] = turn[row] * direction[row] + 0.0;
  }
  return geometry;
}

bool isPerpendicular(const Matrix& matrix) {
  const auto [x, y, z] = matrix.axes;
  return std::abs(dot(x, y)) <= perpendicular * length(x) * length(y) &&
         std::abs(dot(x, z)) <= perpendicular * length(x) * length(z) &&
         std::abs(dot(y, z)) <= perpendicular * length(y) * length(z);
}

}  // namespace

std::optional<HxGeometry3> parseMatrixGeometry(const NiftiFields& fields, const QString& file) {
  checkSizes(fields, file);
  checkQuaternion(fields, file);
  if (fields.get<std::int16_t>(matrixCodeOffset) <= 0) return std::nullopt;
  const Matrix matrix = readMatrix(fields, file);
  if (!isPerpendicular(matrix)) return std::nullopt;
  return toGeometry(matrix, millimetresPerUnit(fields));
}

}  // namespace quarn::formats::detail
