#include "quarn/formats/detail/niftiGeometry.h"

#include <array>
#include <cmath>

#include "quarn/formats/detail/fault.h"
#include "quarn/kernel/fields/soundLattice.h"

namespace quarn::formats::detail {

namespace {

constexpr std::size_t handednessOffset = 76;  // pixdim[0]
constexpr std::size_t sizesOffset = 80;       // pixdim[1] to pixdim[3]
constexpr std::size_t unitsOffset = 123;
constexpr std::size_t quaternionCodeOffset = 252;
constexpr std::size_t matrixCodeOffset = 254;
constexpr std::size_t quaternionOffset = 256;
constexpr std::size_t quaternionOriginOffset = 268;
constexpr std::size_t matrixOffset = 280;

constexpr double longestQuaternion = 1.001;

using Axis = std::array<double, 3>;

/// A lattice in the space and the unit of the file.
struct Lattice {
  std::array<Axis, 3> axes = {Axis{1, 0, 0}, Axis{0, 1, 0}, Axis{0, 0, 1}};  ///< of length 1
  Axis sizes{};
  Axis origin{};
};

Axis readThree(const NiftiFields& fields, std::size_t offset, std::size_t step, const char* name, const QString& file) {
  Axis result;
  for (std::size_t i = 0; i < 3; ++i) {
    result[i] = fields.get<float>(offset + step * i);
    if (std::isfinite(result[i])) continue;
    refuse(file, QStringLiteral("header field %1 holds %2, which is out of range")
                     .arg(QLatin1String(name), QString::number(result[i])));
  }
  return result;
}

double requireSize(double size, const char* name, const QString& file) {
  if (size > 0.0) return size;
  refuse(file,
         QStringLiteral("header field %1 gives voxels a size of %2").arg(QLatin1String(name), QString::number(size)));
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

Axis readSizes(const NiftiFields& fields, const QString& file) {
  const Axis sizes = readThree(fields, sizesOffset, 4, "pixdim", file);
  for (const double size : sizes) requireSize(size, "pixdim", file);
  return sizes;
}

Lattice ofMatrix(const NiftiFields& fields, const QString& file) {
  Lattice lattice;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    const Axis step = readThree(fields, matrixOffset + 4 * axis, 16, "srow", file);
    lattice.sizes[axis] = requireSize(std::hypot(step[0], step[1], step[2]), "srow", file);
    for (std::size_t row = 0; row < 3; ++row) lattice.axes[axis][row] = step[row] / lattice.sizes[axis];
  }
  lattice.origin = readThree(fields, matrixOffset + 12, 16, "srow", file);
  return lattice;
}

/// The columns of the rotation whose unit quaternion has the parts b, c, d and a first one that is not negative.
std::array<Axis, 3> rotation(Axis parts, const QString& file) {
  double length = std::hypot(parts[0], parts[1], parts[2]);
  if (length > longestQuaternion) refuse(file, QStringLiteral("header field quatern is longer than 1"));
  if (length > 1.0) {
    for (double& part : parts) part /= length;
    length = 1.0;
  }
  const double a = std::sqrt(1.0 - length * length);
  const auto [b, c, d] = parts;
  return {Axis{a * a + b * b - c * c - d * d, 2 * (b * c + a * d), 2 * (b * d - a * c)},
          Axis{2 * (b * c - a * d), a * a + c * c - b * b - d * d, 2 * (c * d + a * b)},
          Axis{2 * (b * d + a * c), 2 * (c * d - a * b), a * a + d * d - b * b - c * c}};
}

Lattice ofQuaternion(const NiftiFields& fields, const QString& file) {
  Lattice lattice;
  lattice.sizes = readSizes(fields, file);
  lattice.axes = rotation(readThree(fields, quaternionOffset, 4, "quatern", file), file);
  if (fields.get<float>(handednessOffset) < 0.0F)
    for (double& component : lattice.axes[2]) component = -component;
  lattice.origin = readThree(fields, quaternionOriginOffset, 4, "qoffset", file);
  return lattice;
}

/// Files count x to the right and y to the front.
HxGeometry3 toGeometry(const Lattice& lattice, double millimetres) {
  constexpr Axis turn = {-1.0, -1.0, 1.0};
  HxGeometry3 geometry;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    geometry.voxelSize[axis] = lattice.sizes[axis] * millimetres;
    geometry.origin[axis] = turn[axis] * lattice.origin[axis] * millimetres + 0.0;  // + 0.0: no negative zero
    for (std::size_t row = 0; row < 3; ++row)
      geometry.direction[3 * row + axis] = turn[row] * lattice.axes[axis][row] + 0.0;
  }
  return geometry;
}

Lattice withoutPlace(const NiftiFields& fields, const QString& file) {
  Lattice lattice;
  lattice.sizes = readSizes(fields, file);
  return lattice;
}

}  // namespace

HxGeometry3 parseNiftiGeometry(const NiftiFields& fields, const QString& file) {
  const double millimetres = millimetresPerUnit(fields);
  const bool hasMatrix = fields.get<std::int16_t>(matrixCodeOffset) > 0;
  const bool hasQuaternion = fields.get<std::int16_t>(quaternionCodeOffset) > 0;
  HxGeometry3 geometry;
  if (hasMatrix) geometry = toGeometry(ofMatrix(fields, file), millimetres);
  const bool usesMatrix = hasMatrix && (isPerpendicular(geometry) || !hasQuaternion);
  if (!usesMatrix)
    geometry = toGeometry(hasQuaternion ? ofQuaternion(fields, file) : withoutPlace(fields, file), millimetres);
  requirePerpendicularLattice(geometry, file);
  return geometry;
}

}  // namespace quarn::formats::detail
