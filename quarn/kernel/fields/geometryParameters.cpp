#include "quarn/kernel/fields/geometryParameters.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string>
#include <vector>

#include "quarn/base/McException.h"
#include "quarn/kernel/params/HxParamBundle.h"
#include "quarn/kernel/params/HxParameter.h"

namespace {

constexpr const char* bundleName = "Geometry";

template <std::size_t n>
void requireFinite(const char* what, const std::array<double, n>& numbers) {
  for (const double number : numbers) {
    if (!std::isfinite(number)) {
      throw McException(std::string("Geometry: ") + what + " must be finite, not " + HxParameter::printReal(number) +
                        ".");
    }
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

}  // namespace

std::optional<HxGeometry3> findGeometry(const HxParamBundle& parameters) {
  const HxParamBundle* bundle = parameters.getBundle(bundleName);
  HxGeometry3 geometry;
  if (bundle && findNumbers(*bundle, "Origin", geometry.origin) &&
      findNumbers(*bundle, "VoxelSize", geometry.voxelSize) && findNumbers(*bundle, "Direction", geometry.direction))
    return geometry;
  return std::nullopt;
}

void storeGeometry(const HxGeometry3& geometry, HxParamBundle& parameters) {
  HxParamBundle& bundle = *parameters.getBundle(bundleName);
  setNumbers(bundle, "Origin", geometry.origin);
  setNumbers(bundle, "VoxelSize", geometry.voxelSize);
  setNumbers(bundle, "Direction", geometry.direction);
}

void requireSoundGeometry(const HxGeometry3& geometry) {
  requireFinite("Origin", geometry.origin);
  requireFinite("VoxelSize", geometry.voxelSize);
  requireFinite("Direction", geometry.direction);
  for (const double size : geometry.voxelSize) {
    if (size <= 0) throw McException("Geometry: VoxelSize must be positive, not " + HxParameter::printReal(size) + ".");
  }
}

double voxelVolume(const HxGeometry3& geometry) {
  const auto& size = geometry.voxelSize;
  const auto& m = geometry.direction;
  const double determinant =
      m[0] * (m[4] * m[8] - m[5] * m[7]) - m[1] * (m[3] * m[8] - m[5] * m[6]) + m[2] * (m[3] * m[7] - m[4] * m[6]);
  return size[0] * size[1] * size[2] * std::abs(determinant);
}

McBox3f boxOfLattice(const HxGeometry3& geometry, const McDim3l& dimensions) {
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
