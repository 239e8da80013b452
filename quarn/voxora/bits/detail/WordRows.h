#pragma once

#include <algorithm>
#include <bit>
#include <cstdint>

#include "quarn/voxora/bits/BitRows.h"
#include "quarn/voxora/bits/detail/KernelTable.h"
#include "quarn/voxora/bits/detail/Stretch.h"

/// Boxes in arrays whose rows are whole words, as those of tiles are: columns of words that are cut alike in all rows.
/// Words stay in memory order, which is all the same to masks, tests and counts.
namespace hxvoxora::detail {

/// The words of one slice above each other.
class ColumnSlice {
public:
  ColumnSlice(const std::uint8_t* bytes, std::int64_t stride, std::int64_t rowCount, Word mask)
      : bytes_(bytes), stride_(stride), rowCount_(rowCount), mask_(mask) {}

  std::int64_t rowCount() const { return rowCount_; }
  Word row(std::int64_t y) const { return loadNative<Word>(bytes_ + y * stride_) & mask_; }

  /// The bits that differ from `ground` in some row; the bits of `ground` are equal.
  Word unlike(Word ground) const {
    Word found = 0;
    const auto join = [&](std::int64_t stride) {
      for (std::int64_t y = 0; y < rowCount_; ++y) found |= loadNative<Word>(bytes_ + y * stride) ^ ground;
    };
    if (stride_ == 8) {
      join(8);  // a known stride makes vectors
    } else {
      join(stride_);
    }
    return found & mask_;
  }

  std::uint64_t countSet() const {
    std::uint64_t sum = 0;
    for (std::int64_t y = 0; y < rowCount_; ++y) sum += static_cast<std::uint64_t>(std::popcount(row(y)));
    return sum;
  }

private:
  const std::uint8_t* bytes_;
  std::int64_t stride_, rowCount_;
  Word mask_;
};

/// A column of a box.
class BoxColumn {
public:
  /// The column of the box that holds the voxels of row and slice 0 from x on.
  BoxColumn(const void* bits, const BitLayout& layout, const SbBox3i32& box, std::int64_t x)
      : layout_(layout), rowCount_(box.size(1)) {
    const SbVec3i32& min = box.getMin();
    const std::uint64_t bit = layout.bit(static_cast<std::int32_t>(min[0] + x), min[1], min[2]);
    lead_ = static_cast<unsigned>(bit % 64);
    width_ = static_cast<unsigned>(std::min<std::int64_t>(64 - lead_, box.size(0) - x));
    bytes_ = static_cast<const std::uint8_t*>(bits) + bit / 64 * 8;
  }

  unsigned lead() const { return lead_; }
  unsigned width() const { return width_; }
  Word mask() const { return ordered(topBits(width_) >> lead_); }
  ColumnSlice slice(std::int64_t z) const {
    return {bytes_ + z * layout_.sliceStride / 8, layout_.rowStride / 8, rowCount_, mask()};
  }

private:
  BitLayout layout_;
  std::int64_t rowCount_;
  const std::uint8_t* bytes_;
  unsigned lead_, width_;
};

/// Whether columns of words are the way to go: rows are whole words, and short.
inline bool hasShortWordRows(const BitLayout& layout, const SbBox3i32& box) {
  return layout.rowStride % 64 == 0 && layout.sliceStride % 64 == 0 &&
         box.size(0) < 64 * static_cast<std::int64_t>(longFrom);
}

/// Calls visit(column, x) for the columns of a box, x counted from its first voxel; `visit` returns false to stop.
template <typename Visit>
void forEachColumn(const void* bits, const BitLayout& layout, const SbBox3i32& box, Visit visit) {
  for (std::int64_t x = 0; x < box.size(0);) {
    const BoxColumn column(bits, layout, box, x);
    if (!visit(column, x)) return;
    x += column.width();
  }
}

}  // namespace hxvoxora::detail
