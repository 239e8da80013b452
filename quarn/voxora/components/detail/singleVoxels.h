#pragma once

#include <cstdint>
#include <vector>

#include "quarn/voxora/components/Component.h"
#include "quarn/voxora/components/detail/BlockRows.h"

namespace hxvoxora::detail {

/// A voxel of a block: its row, as BlockRows numbers it, times 64, plus its x.
using VoxelPlace = std::uint32_t;

/// Takes the voxels out of a block that touch no other, except on its sides, and adds them to `singles`.
void takeSingleVoxels(BlockRows& rows, Neighbours neighbours, std::vector<VoxelPlace>& singles);

}  // namespace hxvoxora::detail
