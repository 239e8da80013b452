#include "quarn/formats/detail/soundGeometry.h"

#include <cmath>

#include "quarn/formats/detail/fault.h"

namespace quarn::formats::detail {

namespace {

constexpr double smallestVoxel = 1e-6;
constexpr double largestVoxel = 1e6;
constexpr double farthest = 1e9;
constexpr double tolerance = 1e-4;

double dot(const HxGeometry3& geometry, std::size_t a, std::size_t b) {
  double sum = 0.0;
  for (std::size_t row = 0; row < 3; ++row) sum += geometry.direction[3 * row + a] * geometry.direction[3 * row + b];
  return sum;
}

QString written(double value) {
  return QString::number(value, 'g', 9);
}

/// Written so that a number that is none fails, too.
void require(bool isGood, const QString& file, const char* what, std::size_t axis, double value) {
  if (isGood) return;
  refuse(file, QStringLiteral("%1 along axis %2 is %3").arg(QLatin1String(what)).arg(axis).arg(written(value)));
}

}  // namespace

bool isPerpendicular(const HxGeometry3& geometry) {
  for (std::size_t axis = 0; axis < 3; ++axis)
    if (!(std::abs(dot(geometry, axis, (axis + 1) % 3)) <= tolerance)) return false;
  return true;
}

void requireSoundGeometry(const HxGeometry3& geometry, const QString& file) {
  for (std::size_t axis = 0; axis < 3; ++axis) {
    const double size = geometry.voxelSize[axis];
    require(size >= smallestVoxel && size <= largestVoxel, file, "the voxel size", axis, size);
    const double origin = geometry.origin[axis];
    require(std::abs(origin) <= farthest, file, "the origin", axis, origin);
    const double length = std::sqrt(dot(geometry, axis, axis));
    require(std::abs(length - 1.0) <= tolerance, file, "the length of the direction", axis, length);
  }
  for (std::size_t axis = 0; axis < 3; ++axis) {
    const std::size_t next = (axis + 1) % 3;
    const double cosine = dot(geometry, axis, next);
    if (std::abs(cosine) <= tolerance) continue;
    refuse(file, QStringLiteral("axes %1 and %2 of its lattice are not perpendicular (cosine %3)")
                     .arg(axis)
                     .arg(next)
                     .arg(written(cosine)));
  }
}

}  // namespace quarn::formats::detail
