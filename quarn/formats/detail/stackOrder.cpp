#include "quarn/formats/detail/stackOrder.h"

#include <QFileInfo>
#include <algorithm>
#include <array>
#include <cmath>

#include "quarn/formats/detail/fault.h"

namespace quarn::formats::detail {

namespace {

using Vector = std::array<double, 3>;

constexpr double distanceTolerance = 0.01;  ///< of a distance; what is beyond it shows that a slice is missing
constexpr double smallestDistance = 1e-4;   ///< in millimetres

double dot(const Vector& a, const Vector& b) {
  return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

Vector between(const Vector& a, const Vector& b) {
  return {b[0] - a[0], b[1] - a[1], b[2] - a[2]};
}

QString nameOf(const DicomSlice& slice) {
  return QFileInfo(slice.file).fileName();
}

/// Directions of columns and rows, and the normal of both.
std::array<Vector, 3> axesOf(const DicomSlice& slice) {
  const auto o = slice.orientation.value_or(std::array<double, 6>{1, 0, 0, 0, 1, 0});
  const Vector x = {o[0], o[1], o[2]};
  const Vector y = {o[3], o[4], o[5]};
  return {x, y, {x[1] * y[2] - x[2] * y[1], x[2] * y[0] - x[0] * y[2], x[0] * y[1] - x[1] * y[0]}};
}

/// Distances of neighbours that have been sorted.
std::vector<double> distancesOf(const QString& place, const std::vector<DicomSlice>& slices, const Vector& normal) {
  std::vector<double> distances;
  for (std::size_t i = 1; i < slices.size(); ++i) {
    const Vector step = between(*slices[i - 1].position, *slices[i].position);
    const double distance = dot(step, normal);
    if (distance < smallestDistance)
      refuse(place, QStringLiteral("%1 and %2 lie in the same place").arg(nameOf(slices[i - 1]), nameOf(slices[i])));
    const double shift = std::sqrt(std::max(0.0, dot(step, step) - distance * distance));
    if (shift > std::max(distanceTolerance * distance, 1e-3)) {
      refuse(place, QStringLiteral("%1 is shifted by %2 mm against %3: slices that do not lie above each other are not "
                                   "read")
                        .arg(nameOf(slices[i]))
                        .arg(shift)
                        .arg(nameOf(slices[i - 1])));
    }
    distances.push_back(distance);
  }
  return distances;
}

void requireEven(const QString& place, const std::vector<DicomSlice>& slices, const std::vector<double>& distances) {
  std::vector<double> sorted = distances;
  std::ranges::nth_element(sorted, sorted.begin() + static_cast<std::ptrdiff_t>(sorted.size() / 2));
  const double usual = sorted[sorted.size() / 2];
  for (std::size_t i = 0; i < distances.size(); ++i) {
    if (std::abs(distances[i] - usual) <= distanceTolerance * usual) continue;
    refuse(place, QStringLiteral("slices are missing: from %1 to %2 it is %3 mm, elsewhere %4 mm")
                      .arg(nameOf(slices[i]), nameOf(slices[i + 1]))
                      .arg(distances[i])
                      .arg(usual));
  }
}

}  // namespace

HxGeometry3 sortIntoStack(const QString& place, std::vector<DicomSlice>& slices) {
  const std::array<Vector, 3> axes = axesOf(slices.front());
  const Vector& normal = axes[2];
  if (slices.size() > 1) {
    for (const DicomSlice& slice : slices) {
      if (!slice.position || !slice.orientation)
        refuse(place, QStringLiteral("%1 does not tell where it lies").arg(nameOf(slice)));
    }
    std::ranges::stable_sort(slices, [&](const DicomSlice& a, const DicomSlice& b) {
      return dot(*a.position, normal) < dot(*b.position, normal);
    });
  }
  HxGeometry3 geometry;
  geometry.voxelSize = {slices.front().pixelSize[0], slices.front().pixelSize[1], slices.front().thickness};
  geometry.origin = slices.front().position.value_or(Vector{});
  for (std::size_t axis = 0; axis < 3; ++axis)
    for (std::size_t row = 0; row < 3; ++row) geometry.direction[3 * row + axis] = axes[axis][row] + 0.0;
  if (slices.size() > 1) {
    const std::vector<double> distances = distancesOf(place, slices, normal);
    requireEven(place, slices, distances);
    const double whole = dot(between(*slices.front().position, *slices.back().position), normal);
    geometry.voxelSize[2] = whole / static_cast<double>(distances.size());
  }
  return geometry;
}

}  // namespace quarn::formats::detail
