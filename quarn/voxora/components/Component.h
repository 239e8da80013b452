#pragma once

#include <cstdint>

#include "quarn/voxora/nodes/SbTypes.h"

namespace hxvoxora {

/// Which voxels touch each other.
enum class Neighbours {
  Faces,  ///< those that share a face: 6
  All,    ///< those that share a face, an edge or a corner: 26
};

/// Set voxels of a volume that hang together, and touch no others.
struct Component {
  SbVec3i32 first;               ///< its first voxel in memory order: of least z, then y, then x
  std::uint64_t voxelCount = 0;  ///< at least 1
  SbBox3i32 box;                 ///< the smallest one that holds it, both corners inclusive

  friend bool operator==(const Component&, const Component&) = default;
};

}  // namespace hxvoxora
