#include "quarn/voxora/components/detail/BlockFace.h"

#include <algorithm>
#include <functional>

namespace hxvoxora::detail {

BlockFace::BlockFace(const SbVec3i32& extent, const BlockSide& side, std::uint32_t label)
    : rowCount_(static_cast<std::size_t>(side.axis == 2 ? extent[1] : extent[2])) {
  const int voxels = side.axis == 0 ? extent[1] : extent[0];
  lastBit_ = Word{1} << (64 - voxels);
  std::fill_n(rows_.begin(), rowCount_, topBits(static_cast<unsigned>(voxels)));
  labels_.push_back(label);
}

/// Solid bodies have one label on a whole face, which needs no list.
void BlockFace::shrink() {
  const bool isOne = std::adjacent_find(labels_.begin(), labels_.end(), std::not_equal_to<>()) == labels_.end();
  if (isOne && labels_.size() > 1) labels_.erase(labels_.begin() + 1, labels_.end());
  labels_.shrink_to_fit();
}

}  // namespace hxvoxora::detail
