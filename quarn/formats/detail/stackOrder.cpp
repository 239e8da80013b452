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
constexpr double rounding = 0.0201;         ///< what positions of two decimals do to a distance, in millimetres
constexpr double largestRounding = 0.1;     ///< of a distance
constexpr double cosineRounding = 1e-3;     ///< what cosines of three decimals do to lengths and angles

double dot(const Vector& a, const Vector& b) {
  return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

Vector between(const Vector& a, const Vector& b) {
  return {b[0] - a[0], b[1] - a[1], b[2] - a[2]};
}

QString nameOf(const DicomSlice& slice) {
  return QFileInfo(slice.file).fileName();
}

/// A direction whose length is 1 but for rounding gets that length; another one is left for the check to find.
Vector normalised(const Vector& axis) {
  const double length = std::sqrt(dot(axis, axis));
  if (!(std::abs(length - 1.0) <= cosineRounding)) return axis;
  return {axis[0] / length, axis[1] / length, axis[2] / length};
}

/// Directions of columns and rows, and the normal of both.
std::array<Vector, 3> axesOf(const DicomSlice& slice) {
  const auto o = slice.orientation.value_or(std::array<double, 6>{1, 0, 0, 0, 1, 0});
  const Vector x = normalised({o[0], o[1], o[2]});
  Vector y = normalised({o[3], o[4], o[5]});
  if (const double cosine = dot(x, y); std::abs(cosine) <= cosineRounding)
    y = normalised({y[0] - cosine * x[0], y[1] - cosine * x[1], y[2] - cosine * x[2]});
  return {x, y, {x[1] * y[2] - x[2] * y[1], x[2] * y[0] - x[0] * y[2], x[0] * y[1] - x[1] * y[0]}};
}

/// Refuses sorted slices of which as many lie in each place.
void requireOneVolume(const QString& place, const std::vector<DicomSlice>& slices, const Vector& normal) {
  std::vector<std::size_t> counts = {1};  // of the files in each place
  for (std::size_t i = 1; i < slices.size(); ++i) {
    if (dot(between(*slices[i - 1].position, *slices[i].position), normal) < smallestDistance)
      ++counts.back();
    else
      counts.push_back(1);
  }
  const bool isSeries = counts.front() > 1 && std::ranges::count(counts, counts.front()) == std::ssize(counts);
  if (!isSeries) return;
  refuse(place, QStringLiteral("holds a series of %1 volumes, as many files in each of %2 places; one volume is needed")
                    .arg(counts.front())
                    .arg(counts.size()));
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
                        .arg(nameOf(slices[i]), QString::number(shift), nameOf(slices[i - 1])));
    }
    distances.push_back(distance);
  }
  return distances;
}

void requireEven(const QString& place, const std::vector<DicomSlice>& slices, const std::vector<double>& distances) {
  std::vector<double> sorted = distances;
  const std::size_t middle = (sorted.size() - 1) / 2;
  std::ranges::nth_element(sorted, sorted.begin() + static_cast<std::ptrdiff_t>(middle));
  const double usual = sorted[middle];
  const double tolerance = std::max(distanceTolerance * usual, std::min(rounding, largestRounding * usual));
  for (std::size_t i = 0; i < distances.size(); ++i) {
    if (std::abs(distances[i] - usual) <= tolerance) continue;
    const QString what =
        distances[i] > usual ? QStringLiteral("slices are missing") : QStringLiteral("slices lie too close");
    refuse(place, what + QStringLiteral(": from %1 to %2 it is %3 mm, elsewhere %4 mm")
                             .arg(nameOf(slices[i]), nameOf(slices[i + 1]), QString::number(distances[i]),
                                  QString::number(usual)));
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
    requireOneVolume(place, slices, normal);
    const std::vector<double> distances = distancesOf(place, slices, normal);
    requireEven(place, slices, distances);
    const double whole = dot(between(*slices.front().position, *slices.back().position), normal);
    geometry.voxelSize[2] = whole / static_cast<double>(distances.size());
  }
  return geometry;
}

}  // namespace quarn::formats::detail
