#include "quarn/voxora/components/detail/singleVoxels.h"

#include <bit>

namespace hxvoxora::detail {

namespace {

Word widened(Word row) {
  return row | row << 1 | row >> 1;
}

/// The voxels that touch one of a row's, as far as they lie in that row; others of the block do not matter.
template <Neighbours neighbours>
Word touched(const BlockRows& rows, std::size_t row) {
  const std::size_t height = rows.height();
  const Word own = rows[row] << 1 | rows[row] >> 1;
  const Word beside = rows[row - 1] | rows[row + 1] | rows[row - height] | rows[row + height];
  if constexpr (neighbours == Neighbours::Faces) {
    return own | beside;
  } else {
    const Word diagonal =
        rows[row - height - 1] | rows[row - height + 1] | rows[row + height - 1] | rows[row + height + 1];
    return own | widened(beside | diagonal);
  }
}

template <Neighbours neighbours>
void takeSingles(BlockRows& rows, std::vector<VoxelPlace>& singles) {
  const Word inside = topBits(static_cast<unsigned>(rows.width() - 1)) & ~topBits(1);
  for (std::size_t z = 1; z + 1 < rows.depth(); ++z) {
    for (std::size_t y = 1; y + 1 < rows.height(); ++y) {
      const std::size_t row = z * rows.height() + y;
      const Word alone = rows[row] & ~touched<neighbours>(rows, row) & inside;
      rows[row] ^= alone;
      for (Word rest = alone; rest != 0; rest &= rest - 1)
        singles.push_back(static_cast<VoxelPlace>(64 * row + 63 - static_cast<unsigned>(std::countr_zero(rest))));
    }
  }
}

}  // namespace

void takeSingleVoxels(BlockRows& rows, Neighbours neighbours, std::vector<VoxelPlace>& singles) {
  if (neighbours == Neighbours::Faces) {
    takeSingles<Neighbours::Faces>(rows, singles);
  } else {
    takeSingles<Neighbours::All>(rows, singles);
  }
}

}  // namespace hxvoxora::detail
