#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include "quarn/voxora/bits/detail/Stretch.h"
#include "quarn/voxora/components/detail/BlockGrid.h"

namespace hxvoxora::detail {

/// The bits of a block: a word for each row, its first voxel in the most significant bit; bits behind the row are 0.
class BlockRows {
public:
  static constexpr std::size_t longestEdge = 64;

  explicit BlockRows(const SbVec3i32& blockSize)
      : width_(static_cast<std::size_t>(blockSize[0])),
        height_(static_cast<std::size_t>(blockSize[1])),
        depth_(static_cast<std::size_t>(blockSize[2])) {}

  std::size_t width() const { return width_; }
  std::size_t height() const { return height_; }
  std::size_t depth() const { return depth_; }
  std::size_t count() const { return height_ * depth_; }

  /// Row y of slice z has the number z * height() + y.
  Word operator[](std::size_t row) const { return rows_[row]; }
  Word& operator[](std::size_t row) { return rows_[row]; }

  /// True when no voxel is set.
  bool isClear() const {
    return std::all_of(rows_.begin(), rows_.begin() + static_cast<std::ptrdiff_t>(count()),
                       [](Word row) { return row == 0; });
  }

  /// Reads the block of a tile's bits; these have no bits outside the volume.
  void read(const BlockGrid& blocks, const BlockPlace& place, const std::byte* tileBits);

  /// Writes the block into a tile's bits.
  void write(const BlockGrid& blocks, const BlockPlace& place, std::byte* tileBits) const;

private:
  const std::size_t width_, height_, depth_;
  std::array<Word, longestEdge * longestEdge> rows_;
};

}  // namespace hxvoxora::detail
