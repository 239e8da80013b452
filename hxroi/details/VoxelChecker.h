#pragma once

#include "hxroi/details/BoxProxy.h"

namespace hxroi::details {

/// Lets mcFloodFill3D enter the set voxels of a view, which outlives it.
class VoxelChecker {
public:
  explicit VoxelChecker(const BoxProxy& view) : view_(view) {}

  bool operator()(int x, int y, int z) const { return view_(x, y, z); }

private:
  const BoxProxy& view_;
};

}  // namespace hxroi::details
