#pragma once

#include <array>

/// How a lattice lies in the world, in millimetres: x to the left, y to the back, z up.
///
/// The centre of voxel (i, j, k) is origin + direction * (i * voxelSize[0], j * voxelSize[1], k * voxelSize[2]).
struct HxGeometry3 {
  std::array<double, 3> origin{0, 0, 0};
  std::array<double, 3> voxelSize{1, 1, 1};
  /// Row major: element 3 * r + c is component r of the direction of lattice axis c.
  std::array<double, 9> direction{1, 0, 0, 0, 1, 0, 0, 0, 1};

  friend bool operator==(const HxGeometry3&, const HxGeometry3&) = default;
};
