#pragma once

#include "quarn/base/McBox3.h"
#include "quarn/base/McVec3f.h"
#include "quarn/base/McVec3i.h"
#include "quarn/base/export.h"

/// A box in world units. The box of a lattice runs through the centres of its outermost voxels. The empty box has
/// minimum 3.4028235e38 and maximum -3.4028235e38 on every axis. `data()` serves functions that want a `float[6]`.
class McBox3f : public McBox3<float> {
public:
  using McBox3<float>::McBox3;

  /// Distance of voxel centres per axis for a lattice of `dimensions` voxels in this box: (max - min) / (n - 1), and
  /// max - min for n < 2. An empty box gives 0 on all axes.
  QUARN_BASE_API McVec3f getVoxelSize(const McVec3i& dimensions) const noexcept;
};
