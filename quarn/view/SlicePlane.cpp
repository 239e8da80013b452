#include "quarn/view/SlicePlane.h"

#include <algorithm>
#include <cmath>

namespace quarn::view {

namespace {

/// What is left of the pane for the slice.
constexpr double FILLED = 0.94;

double dot(const Point3& a, const Point3& b) {
  return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

Point3 axisOf(const HxGeometry3& geometry, int axis) {
  const auto column = static_cast<std::size_t>(axis);
  return {geometry.direction[column], geometry.direction[3 + column], geometry.direction[6 + column]};
}

std::size_t mainAxis(const Point3& direction) {
  std::size_t main = 0;
  for (std::size_t i = 1; i < 3; ++i)
    if (std::abs(direction[i]) > std::abs(direction[main]) + 1e-9) main = i;
  return main;
}

Point3 scaled(const Point3& v, double factor) {
  return {v[0] * factor, v[1] * factor, v[2] * factor};
}

/// What is right and what is down in a slice that looks along a world axis.
struct Look {
  Point3 right, down;
};

Look lookAlong(std::size_t worldAxis) {
  if (worldAxis == 2) return {{1, 0, 0}, {0, 1, 0}};
  if (worldAxis == 1) return {{1, 0, 0}, {0, 0, -1}};
  return {{0, 1, 0}, {0, 0, -1}};
}

}  // namespace

SlicePlane SlicePlane::across(const McDim3l& dimensions, const HxGeometry3& geometry, int axis, double index, int width,
                              int height) {
  const Look look = lookAlong(mainAxis(axisOf(geometry, axis)));
  int a = (axis + 1) % 3, b = (axis + 2) % 3;
  if (std::abs(dot(axisOf(geometry, a), look.right)) < std::abs(dot(axisOf(geometry, b), look.right))) std::swap(a, b);
  const auto sizeAlong = [&](int i) {
    return static_cast<double>(dimensions[i]) * geometry.voxelSize[static_cast<std::size_t>(i)];
  };
  const auto turnedTo = [&](int i, const Point3& wanted) {
    const Point3 direction = axisOf(geometry, i);
    return scaled(direction, dot(direction, wanted) < 0 ? -1 : 1);
  };
  const double pixel = std::max(sizeAlong(a) / width, sizeAlong(b) / height) / FILLED;

  SlicePlane plane;
  plane.width = width;
  plane.height = height;
  plane.right = scaled(turnedTo(a, look.right), pixel);
  plane.down = scaled(turnedTo(b, look.down), pixel);
  Point3 centre{static_cast<double>(dimensions.nx - 1) / 2, static_cast<double>(dimensions.ny - 1) / 2,
                static_cast<double>(dimensions.nz - 1) / 2};
  centre[static_cast<std::size_t>(axis)] = index;
  plane.first = LatticeMap(geometry).toWorld(centre);
  plane.first = plane.at((1 - width) / 2.0, (1 - height) / 2.0);
  return plane;
}

double SlicePlane::pixelSize() const {
  return std::min(std::sqrt(dot(right, right)), std::sqrt(dot(down, down)));
}

QString SlicePlane::sideOf(const Point3& direction) {
  static const char* const names[3][2] = {{"R", "L"}, {"A", "P"}, {"I", "S"}};
  const std::size_t main = mainAxis(direction);
  return QString::fromLatin1(names[main][direction[main] > 0 ? 1 : 0]);
}

}  // namespace quarn::view
