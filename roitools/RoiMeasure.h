#pragma once

#include <array>
#include <cstdint>
#include <functional>

#include "quarn/base/McBox3i.h"
#include "quarn/voxora/tiles/TileSnapshot.h"
#include "roitools/Moments.h"
#include "roitools/export.h"

class HxUniformScalarField3;

namespace roitools {

/// What is measured of one ROI: where its voxels are, and what an image holds there.
struct ROITOOLS_API RoiMeasure {
  std::uint64_t voxels = 0;
  McBox3i box;                              ///< inclusive voxel bounds; empty without voxels
  std::array<std::uint64_t, 3> indexSum{};  ///< sums of the voxel indices along x, y, z
  Moments values;                           ///< of the image at the voxels; nothing without an image

  RoiMeasure();

  /// The mean voxel index along x, y, z; only with at least one voxel.
  std::array<double, 3> centroidIndex() const;

  /// Takes in every voxel of a box with inclusive bounds.
  void addBox(const SbBox3i32& voxelBox);

  /// Takes in the voxels [x0, x1) of the row (y, z).
  void addRun(int y, int z, int x0, int x1);

  /// Takes in everything that `other` holds.
  void join(const RoiMeasure& other);
};

/// Measures the set voxels of `mask`, and the values of `image` there when it is not null; the image has the grid of
/// the mask. Goes over tiles that hold set voxels only, in parallel; the result does not depend on the number of
/// threads. Throws McException when a tile cannot be read, and what `ask` throws, which is called all the time, by any
/// thread, several at once.
ROITOOLS_API RoiMeasure measure(const hxvoxora::TileSnapshot& mask, const HxUniformScalarField3* image,
                                const std::function<void()>& ask = {});

}  // namespace roitools
