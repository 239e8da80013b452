#include "quarn/kernel/fields/HxRegScalarField3.h"

#include <algorithm>
#include <cmath>

#include "quarn/base/McException.h"
#include "quarn/kernel/params/HxParameter.h"

MC_ABSTRACT_CLASS_IMPL(HxRegScalarField3, HxData)

namespace {

template <std::size_t n>
void requireFinite(const char* what, const std::array<double, n>& numbers) {
  for (const double number : numbers) {
    if (!std::isfinite(number)) {
      throw McException(std::string("Geometry: ") + what + " must be finite, not " + HxParameter::printReal(number) +
                        ".");
    }
  }
}

void check(const HxGeometry3& geometry) {
  requireFinite("Origin", geometry.origin);
  requireFinite("VoxelSize", geometry.voxelSize);
  requireFinite("Direction", geometry.direction);
  for (const double size : geometry.voxelSize) {
    if (size <= 0) throw McException("Geometry: VoxelSize must be positive, not " + HxParameter::printReal(size) + ".");
  }
}

template <std::size_t n>
bool findNumbers(const HxParamBundle& bundle, const char* name, std::array<double, n>& numbers) {
  std::vector<double> reals;
  if (!bundle.findReals(name, reals) || reals.size() != n) return false;
  std::copy(reals.begin(), reals.end(), numbers.begin());
  return true;
}

template <std::size_t n>
void setNumbers(HxParamBundle& bundle, const char* name, const std::array<double, n>& numbers) {
  bundle.set(name, std::vector<double>(numbers.begin(), numbers.end()));
}

void write(const HxGeometry3& geometry, HxParamBundle& bundle) {
  setNumbers(bundle, "Origin", geometry.origin);
  setNumbers(bundle, "VoxelSize", geometry.voxelSize);
  setNumbers(bundle, "Direction", geometry.direction);
}

/// Origin and voxel size of a lattice in a box; the direction is left alone.
void fitInto(const McBox3f& box, const McDim3l& dimensions, HxGeometry3& geometry) {
  for (int axis = 0; axis < 3; ++axis) {
    const double extent = double{box[2 * axis + 1]} - double{box[2 * axis]};
    const auto steps = static_cast<double>(std::max<std::int64_t>(dimensions[axis] - 1, 1));
    geometry.origin[static_cast<std::size_t>(axis)] = box[2 * axis];
    geometry.voxelSize[static_cast<std::size_t>(axis)] = extent > 0 ? extent / steps : 1;
  }
}

McBox3f boxOf(const HxGeometry3& geometry, const McDim3l& dimensions) {
  McBox3f box;
  for (int axis = 0; axis < 3; ++axis) {
    const auto i = static_cast<std::size_t>(axis);
    // A single voxel gets a box of its own size, from which the size can be read back.
    const auto steps = static_cast<double>(std::max<std::int64_t>(dimensions[axis] - 1, 1));
    box[2 * axis] = static_cast<float>(geometry.origin[i]);
    box[2 * axis + 1] = static_cast<float>(geometry.origin[i] + steps * geometry.voxelSize[i]);
  }
  return box;
}

double determinant(const std::array<double, 9>& m) {
  return m[0] * (m[4] * m[8] - m[5] * m[7]) - m[1] * (m[3] * m[8] - m[5] * m[6]) + m[2] * (m[3] * m[7] - m[4] * m[6]);
}

}  // namespace

HxRegScalarField3::~HxRegScalarField3() = default;

void HxRegScalarField3::getBoundingBox(float box[6]) {
  std::copy_n(box_.data(), 6, box);
}

void HxRegScalarField3::setBoundingBox(const McBox3f& box) {
  box_ = box;
  HxGeometry3 geometry;
  if (box.isEmpty() || !readGeometry(geometry)) return;
  fitInto(box, latticeDimensions(), geometry);
  write(geometry, *parameters.getBundle("Geometry"));
}

void HxRegScalarField3::setBoundingBox(const float box[6]) {
  setBoundingBox(McBox3f(box[0], box[1], box[2], box[3], box[4], box[5]));
}

void HxRegScalarField3::setGeometry(const HxGeometry3& geometry) {
  check(geometry);
  box_ = boxOf(geometry, latticeDimensions());
  write(geometry, *parameters.getBundle("Geometry"));
}

bool HxRegScalarField3::readGeometry(HxGeometry3& geometry) const {
  const HxParamBundle* bundle = parameters.getBundle("Geometry");
  return bundle && findNumbers(*bundle, "Origin", geometry.origin) &&
         findNumbers(*bundle, "VoxelSize", geometry.voxelSize) && findNumbers(*bundle, "Direction", geometry.direction);
}

HxGeometry3 HxRegScalarField3::geometry() const {
  HxGeometry3 geometry;
  if (readGeometry(geometry)) return geometry;
  geometry = HxGeometry3();
  if (!box_.isEmpty()) fitInto(box_, latticeDimensions(), geometry);
  return geometry;
}

std::array<double, 3> HxRegScalarField3::voxelToWorld(double i, double j, double k) const {
  const HxGeometry3 g = geometry();
  const std::array<double, 3> along{i * g.voxelSize[0], j * g.voxelSize[1], k * g.voxelSize[2]};
  std::array<double, 3> world = g.origin;
  for (std::size_t row = 0; row < 3; ++row) {
    for (std::size_t column = 0; column < 3; ++column) world[row] += g.direction[3 * row + column] * along[column];
  }
  return world;
}

double HxRegScalarField3::voxelVolume() const {
  const HxGeometry3 g = geometry();
  return g.voxelSize[0] * g.voxelSize[1] * g.voxelSize[2] * std::abs(determinant(g.direction));
}
