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

/// Where a block has others around it that are not clear.
struct BlockSurroundings {
  std::uint32_t steps = 0;      ///< bit i: there are set voxels where the i-th of blockSteps() leads to
  std::uint32_t fullSteps = 0;  ///< those that lead to full tiles
  std::uint32_t openSides = 0;  ///< BlockSide::bit(): some of these steps meet others on that side
};

BlockSurroundings surroundingsOf(const BlockGrid& blocks, const BlockPlace& place, Neighbours neighbours);

/// The faces of full blocks, one for each side, with the label 0. Where the volume cuts a full block, these meet
/// nothing that its own would not.
using FullFaces = std::array<BlockFace, sideCount>;
FullFaces makeFullFaces(const BlockGrid& blocks);

/// BlockFace::forEachTouch() where a step leads from a block with the face `from` to one with the face `to`.
template <typename Join>
void forEachTouch(Neighbours neighbours, const BlockFace& from, const BlockStep& step, const BlockFace& to, Join join) {
  if (neighbours == Neighbours::Faces) {
    from.forEachTouch<Neighbours::Faces>(to, step.across, step.up, join);
  } else {
    from.forEachTouch<Neighbours::All>(to, step.across, step.up, join);
  }
}

}  // namespace hxvoxora::detail
