#include "quarn/kernel/fields/soundLattice.h"

#include <cmath>
#include <cstddef>

#include "quarn/base/McException.h"

namespace quarn {

namespace {

constexpr double smallestVoxel = 1e-6;
constexpr double largestVoxel = 1e6;
constexpr double farthest = 1e9;
constexpr double tolerance = 1e-4;
constexpr double flat = 1e-6;

double cosine(const HxGeometry3& geometry, std::size_t a, std::size_t b) {
  double sum = 0.0;
  for (std::size_t row = 0; row < 3; ++row) sum += geometry.direction[3 * row + a] * geometry.direction[3 * row + b];
  return sum;
}

double determinant(const HxGeometry3& geometry) {
  const auto& m = geometry.direction;
  return m[0] * (m[4] * m[8] - m[5] * m[7]) - m[1] * (m[3] * m[8] - m[5] * m[6]) + m[2] * (m[3] * m[7] - m[4] * m[6]);
}

[[noreturn]] void refuse(const QString& file, const QString& what) {
  throw McException(McException::excerpt(file.toStdString()) + ": " + what.toStdString());
}

/// Written so that a number that is none fails, too.
void require(bool isGood, const QString& file, const char* what, std::size_t axis, double value) {
  if (isGood) return;
  refuse(
      file,
      QStringLiteral("%1 along axis %2 is %3").arg(QLatin1String(what)).arg(axis).arg(QString::number(value, 'g', 9)));
}

void requireSoundAxes(const HxGeometry3& geometry, const QString& file) {
  for (std::size_t axis = 0; axis < 3; ++axis) {
    const double size = geometry.voxelSize[axis];
    require(size >= smallestVoxel && size <= largestVoxel, file, "the voxel size", axis, size);
    const double origin = geometry.origin[axis];
    require(std::abs(origin) <= farthest, file, "the origin", axis, origin);
    const double length = std::sqrt(cosine(geometry, axis, axis));
    require(std::abs(length - 1.0) <= tolerance, file, "the length of the direction", axis, length);
  }
}

}  // namespace

bool isPerpendicular(const HxGeometry3& geometry) {
  for (std::size_t axis = 0; axis < 3; ++axis)
    if (!(std::abs(cosine(geometry, axis, (axis + 1) % 3)) <= tolerance)) return false;
  return true;
}

void requireSoundLattice(const HxGeometry3& geometry, const QString& file) {
  requireSoundAxes(geometry, file);
  if (!(std::abs(determinant(geometry)) > flat))
    refuse(file, QStringLiteral("the directions of its axes do not span a volume"));
}

void requirePerpendicularLattice(const HxGeometry3& geometry, const QString& file) {
  requireSoundAxes(geometry, file);
  for (std::size_t axis = 0; axis < 3; ++axis) {
    const std::size_t next = (axis + 1) % 3;
    const double between = cosine(geometry, axis, next);
    if (std::abs(between) <= tolerance) continue;
    refuse(file, QStringLiteral("axes %1 and %2 of its lattice are not perpendicular (cosine %3)")
                     .arg(axis)
                     .arg(next)
                     .arg(QString::number(between, 'g', 9)));
  }
}

}  // namespace quarn
