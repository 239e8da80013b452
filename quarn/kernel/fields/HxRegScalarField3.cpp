#include "quarn/kernel/fields/HxRegScalarField3.h"

#include <algorithm>
#include <optional>

#include "quarn/kernel/fields/geometryParameters.h"

MC_ABSTRACT_CLASS_IMPL(HxRegScalarField3, HxData)

namespace {

/// Origin and voxel size of a lattice in a box; the direction is left alone.
void fitInto(const McBox3f& box, const McDim3l& dimensions, HxGeometry3& geometry) {
  for (int axis = 0; axis < 3; ++axis) {
    const double extent = double{box[2 * axis + 1]} - double{box[2 * axis]};
    const auto steps = static_cast<double>(std::max<std::int64_t>(dimensions[axis] - 1, 1));
    geometry.origin[static_cast<std::size_t>(axis)] = box[2 * axis];
    geometry.voxelSize[static_cast<std::size_t>(axis)] = extent > 0 ? extent / steps : 1;
  }
}

}  // namespace

HxRegScalarField3::~HxRegScalarField3() = default;

void HxRegScalarField3::getBoundingBox(float box[6]) {
  std::copy_n(box_.data(), 6, box);
}

void HxRegScalarField3::setBoundingBox(const McBox3f& box) {
  box_ = box;
  std::optional<HxGeometry3> geometry = findGeometry(parameters);
  if (box.isEmpty() || !geometry) return;
  fitInto(box, latticeDimensions(), *geometry);
  storeGeometry(*geometry, parameters);
}

void HxRegScalarField3::setBoundingBox(const float box[6]) {
  setBoundingBox(McBox3f(box[0], box[1], box[2], box[3], box[4], box[5]));
}

void HxRegScalarField3::setGeometry(const HxGeometry3& geometry) {
  requireSoundGeometry(geometry);
  box_ = boxOfLattice(geometry, latticeDimensions());
  storeGeometry(geometry, parameters);
}

HxGeometry3 HxRegScalarField3::geometry() const {
  if (const auto stored = findGeometry(parameters)) return *stored;
  HxGeometry3 geometry;
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
  return ::voxelVolume(geometry());
}
