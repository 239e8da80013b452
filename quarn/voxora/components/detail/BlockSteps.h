#pragma once

#include <array>
#include <cstddef>
#include <span>

#include "quarn/voxora/components/Component.h"
#include "quarn/voxora/components/detail/BlockFace.h"
#include "quarn/voxora/components/detail/BlockGrid.h"

namespace hxvoxora::detail {

/// The way from a block to one that touches it, and where the two meet: on a side of both along the same axis, as
/// BlockFace::forEachTouch() has it.
struct BlockStep {
  BlockPlace way;
  BlockSide side;   ///< of the block where the way begins
  BlockSide other;  ///< of the one where it ends
  int across, up;

  BlockPlace from(const BlockPlace& place) const { return {place[0] + way[0], place[1] + way[1], place[2] + way[2]}; }
};

/// The ways to all blocks whose voxels may be neighbours of those of one block.
std::span<const BlockStep> blockSteps(Neighbours neighbours);

constexpr std::size_t mostBlockSteps = 26;

}  // namespace hxvoxora::detail
