#include <algorithm>

#include "quarn/voxora/bits/BitRows.h"
#include "quarn/voxora/bits/detail/KernelTable.h"
#include "quarn/voxora/bits/detail/WordColumn.h"

/// Copying boxes into tiles: what the tiles have of a row is whole words, or a part of one.
namespace hxvoxora {

namespace {

using detail::SeenBits;
using detail::WordColumn;

/// The byte behind the last bit of a box.
std::uint64_t endByte(const BitLayout& layout, const SbBox3i32& box) {
  const SbVec3i32& last = box.getMax();
  return layout.bit(last[0], last[1], last[2]) / 8 + 1;
}

/// Copies a column, reading around its bits only where the source goes on.
void copyColumn(const WordColumn& column, std::uint64_t rowCount, std::uint64_t srcEnd, SeenBits& seen) {
  const auto isInside = [&](std::uint64_t row) {
    return (column.srcBit + row * column.srcStride) / 8 + detail::columnReach <= srcEnd;
  };
  std::uint64_t inside = rowCount;
  while (inside > 0 && !isInside(inside - 1)) --inside;
  detail::kernels().copyColumn(column, inside, seen);
  WordColumn rest = column;
  rest.skipRows(inside);
  copyColumnExactly(rest, rowCount - inside, seen);
}

/// Copies a box to where rows are whole words.
WordSummary copyToWords(std::uint8_t* dst, const BitLayout& dstLayout, const std::uint8_t* src,
                        const BitLayout& srcLayout, const SbBox3i32& box) {
  const SbVec3i32 &min = box.getMin(), &max = box.getMax();
  const std::uint64_t srcEnd = endByte(srcLayout, box);
  SeenBits seen;
  for (std::int64_t z = min[2]; z <= max[2]; ++z) {
    const std::uint64_t dstBit = dstLayout.bit(min[0], min[1], static_cast<std::int32_t>(z));
    const std::uint64_t srcBit = srcLayout.bit(min[0], min[1], static_cast<std::int32_t>(z));
    for (std::int64_t x = 0; x < box.size(0);) {
      const std::uint64_t at = dstBit + static_cast<std::uint64_t>(x);
      const auto lead = static_cast<unsigned>(at % 64);
      const auto width = static_cast<unsigned>(std::min<std::int64_t>(64 - lead, box.size(0) - x));
      const WordColumn column{dst + at / 64 * 8,
                              static_cast<std::size_t>(dstLayout.rowStride / 8),
                              src,
                              srcBit + static_cast<std::uint64_t>(x),
                              static_cast<std::uint64_t>(srcLayout.rowStride),
                              lead,
                              width};
      copyColumn(column, static_cast<std::uint64_t>(box.size(1)), srcEnd, seen);
      x += width;
    }
  }
  return seen.summary();
}

/// Whether the voxels of a box follow each other without a gap from the beginning of a byte on.
bool isOneBlock(const BitLayout& layout, const SbBox3i32& box) {
  const SbVec3i32& first = box.getMin();
  return layout.rowStride == box.size(0) && layout.sliceStride == box.size(0) * box.size(1) &&
         layout.bit(first[0], first[1], first[2]) % 8 == 0;
}

WordSummary copyBlock(std::uint8_t* dst, const BitLayout& dstLayout, const std::uint8_t* src,
                      const BitLayout& srcLayout, const SbBox3i32& box) {
  const SbVec3i32& first = box.getMin();
  const std::uint8_t* const from = src + srcLayout.bit(first[0], first[1], first[2]) / 8;
  const auto byteCount = static_cast<std::size_t>(box.size(0) * box.size(1) * box.size(2) / 8);
  return detail::kernels().combineBlocks[static_cast<unsigned>(TruthTable::CopyB)](
      dst + dstLayout.bit(first[0], first[1], first[2]) / 8, from, from, byteCount);
}

}  // namespace

WordSummary copyRowsSummarised(void* dst, const BitLayout& dstLayout, const void* src, const BitLayout& srcLayout,
                               const SbBox3i32& box) {
  if (box.isEmpty()) return {};
  auto* const to = static_cast<std::uint8_t*>(dst);
  const auto* const from = static_cast<const std::uint8_t*>(src);
  const bool wholeVectors = box.size(0) * box.size(1) * box.size(2) % 256 == 0;
  if (wholeVectors && isOneBlock(dstLayout, box) && isOneBlock(srcLayout, box))
    return copyBlock(to, dstLayout, from, srcLayout, box);
  if (dstLayout.rowStride % 64 == 0 && dstLayout.sliceStride % 64 == 0)
    return copyToWords(to, dstLayout, from, srcLayout, box);
  combineRows(dst, dstLayout, src, srcLayout, box, TruthTable::CopyB);
  const std::optional<bool> value = uniformValue(dst, dstLayout, box);
  return {value.value_or(true), !value.value_or(false)};
}

}  // namespace hxvoxora
