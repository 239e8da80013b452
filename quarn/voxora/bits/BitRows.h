#pragma once

#include <cstdint>
#include <optional>

#include "quarn/voxora/bits/BitKernels.h"
#include "quarn/voxora/bits/TruthTable.h"
#include "quarn/voxora/export.h"
#include "quarn/voxora/nodes/SbTypes.h"

/// Boxes of voxels in packed bit arrays: the passes of BitKernels.h, row by row, with rows and slices joined where they
/// follow each other without a gap.
///
/// A box is given in the coordinates that the layouts share (voxels of a volume, say); each layout tells where these
/// voxels lie in its array. Empty boxes are no work. The box must lie inside what the arrays hold.
///
/// Where both strides of a layout are multiples of 64 bits, the array must hold its rows as a whole, as a tile does:
/// any byte of a row that has voxels of the box may be read by the functions that only read, and be written back
/// unchanged by copyRowsSummarised().
namespace hxvoxora {

/// Where the bits of voxels lie in an array: x fastest, then y, then z.
struct BitLayout {
  SbVec3i32 origin;              ///< the voxel of bit 0
  std::int64_t rowStride = 0;    ///< bits from a voxel to its neighbour in y
  std::int64_t sliceStride = 0;  ///< bits from a voxel to its neighbour in z

  /// The layout of a box without padding.
  static BitLayout packed(const SbBox3i32& box) { return {box.getMin(), box.size(0), box.size(0) * box.size(1)}; }

  std::uint64_t bit(std::int32_t x, std::int32_t y, std::int32_t z) const {
    return static_cast<std::uint64_t>((std::int64_t{z} - origin[2]) * sliceStride +
                                      (std::int64_t{y} - origin[1]) * rowStride + (std::int64_t{x} - origin[0]));
  }
};

/// Copies a box.
QUARN_VOXORA_API void copyRows(void* dst, const BitLayout& dstLayout, const void* src, const BitLayout& srcLayout,
                               const SbBox3i32& box);

/// Copies a box and tells what was seen in it. Reads only bytes between the first and the last one that hold voxels of
/// the box, but also those between its rows.
QUARN_VOXORA_API WordSummary copyRowsSummarised(void* dst, const BitLayout& dstLayout, const void* src,
                                                const BitLayout& srcLayout, const SbBox3i32& box);

/// Sets or clears a box.
QUARN_VOXORA_API void fillRows(void* dst, const BitLayout& layout, const SbBox3i32& box, bool value);

/// Inverts a box.
QUARN_VOXORA_API void invertRows(void* dst, const BitLayout& layout, const SbBox3i32& box);

/// dst = f(dst, src) on a box.
QUARN_VOXORA_API void combineRows(void* dst, const BitLayout& dstLayout, const void* src, const BitLayout& srcLayout,
                                  const SbBox3i32& box, TruthTable f);

/// invertRows() and combineRows() beside other threads that work on other voxels of the same bytes, as told in
/// BitKernels.h.
QUARN_VOXORA_API void invertRowsShared(void* dst, const BitLayout& layout, const SbBox3i32& box);
QUARN_VOXORA_API void combineRowsShared(void* dst, const BitLayout& dstLayout, const void* src,
                                        const BitLayout& srcLayout, const SbBox3i32& box, TruthTable f);

/// The number of set voxels of a box.
QUARN_VOXORA_API std::uint64_t countRows(const void* bits, const BitLayout& layout, const SbBox3i32& box);

/// The smallest box that holds the set voxels of a box; empty when there are none.
QUARN_VOXORA_API SbBox3i32 boundsOfRows(const void* bits, const BitLayout& layout, const SbBox3i32& box);

/// The value that all voxels of a box share; nothing when they differ or the box is empty.
QUARN_VOXORA_API std::optional<bool> uniformValue(const void* bits, const BitLayout& layout, const SbBox3i32& box);

}  // namespace hxvoxora
