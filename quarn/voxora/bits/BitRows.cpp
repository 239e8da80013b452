#include "quarn/voxora/bits/BitRows.h"

#include "quarn/voxora/bits/detail/Operations.h"
#include "quarn/voxora/bits/detail/WordRows.h"
#include "quarn/voxora/bits/detail/scanStretch.h"
#include "quarn/voxora/bits/detail/transformStretch.h"

namespace hxvoxora {

namespace {

using detail::Edge;
using detail::NoBits;
using detail::SourceBits;
using detail::transformStretch;
using detail::Word;

/// Calls visit(count, bits...) for the stretches that a box is made of, with the first bit in each of the layouts.
/// `visit` returns false to stop.
template <typename Visit, typename... Layouts>
void forEachStretch(const SbBox3i32& box, Visit visit, const Layouts... layouts) {
  if (box.isEmpty()) return;
  const std::int64_t row = box.size(0), slice = row * box.size(1);
  const bool joinRows = box.size(1) == 1 || ((layouts.rowStride == row) && ...);
  const bool joinSlices = joinRows && (box.size(2) == 1 || ((layouts.sliceStride == slice) && ...));
  const auto length = static_cast<std::uint64_t>(joinSlices ? slice * box.size(2) : joinRows ? slice : row);
  const std::int64_t rows = joinRows ? 1 : box.size(1), slices = joinSlices ? 1 : box.size(2);
  const auto visitRows = [&](std::int64_t z, auto... bits) {
    for (std::int64_t y = 0; y < rows; ++y) {
      if (!visit(length, bits...)) return false;
      ((bits += static_cast<std::uint64_t>(layouts.rowStride)), ...);
    }
    return z + 1 < slices;
  };
  const SbVec3i32& first = box.getMin();
  std::int64_t z = 0;
  while (
      visitRows(z, layouts.bit(first[0], first[1], first[2]) + static_cast<std::uint64_t>(z * layouts.sliceStride)...))
    ++z;
}

/// Whether columns beat rows: where rows follow each other without a gap, stretches are longer than they.
bool isForColumns(const BitLayout& layout, const SbBox3i32& box) {
  return !box.isEmpty() && layout.rowStride != box.size(0) && detail::hasShortWordRows(layout, box);
}

/// True when every row of a box starts on a byte boundary.
bool startsOnBytes(const BitLayout& layout, const SbBox3i32& box) {
  const SbVec3i32& first = box.getMin();
  const auto strides = static_cast<std::uint64_t>(layout.rowStride) | static_cast<std::uint64_t>(layout.sliceStride);
  return ((layout.bit(first[0], first[1], first[2]) | strides) & 7) == 0;
}

/// dst = op(dst, src) where rows are whole words on byte boundaries, as where tiles meet boxes of even sizes.
template <typename Operation>
void combineWordRows(std::uint8_t* dst, const BitLayout& dstLayout, const std::uint8_t* src, const BitLayout& srcLayout,
                     const SbBox3i32& box, Operation op) {
  const SbVec3i32& first = box.getMin();
  const std::int64_t words = box.size(0) / 64, rows = box.size(1);
  const std::int64_t dstStride = dstLayout.rowStride / 8, srcStride = srcLayout.rowStride / 8;
  for (std::int64_t z = first[2]; z <= box.getMax()[2]; ++z) {
    std::uint8_t* to = dst + dstLayout.bit(first[0], first[1], static_cast<std::int32_t>(z)) / 8;
    const std::uint8_t* from = src + srcLayout.bit(first[0], first[1], static_cast<std::int32_t>(z)) / 8;
    for (std::int64_t word = 0; word < words; ++word, to += 8, from += 8) {
      for (std::int64_t y = 0; y < rows; ++y) {
        std::uint8_t* at = to + y * dstStride;
        detail::storeNative(at, op(detail::loadNative<Word>(at), detail::loadNative<Word>(from + y * srcStride)));
      }
    }
  }
}

/// The bits of a box become op(bit).
template <Edge edge, typename Operation>
void transform(void* dst, const BitLayout& layout, const SbBox3i32& box, Operation op) {
  forEachStretch(
      box,
      [=](std::uint64_t count, std::uint64_t bit) {
        transformStretch<edge>(dst, bit, NoBits(), count, op);
        return true;
      },
      layout);
}

template <Edge edge>
void invert(void* dst, const BitLayout& layout, const SbBox3i32& box) {
  transform<edge>(dst, layout, box, detail::operation<TruthTable::NotA>);
}

template <Edge edge>
void combine(void* dst, const BitLayout& dstLayout, const void* src, const BitLayout& srcLayout, const SbBox3i32& box,
             TruthTable f) {
  if (box.isEmpty()) return;
  const bool shortRows = box.size(0) == 64 || box.size(0) == 128;
  const bool wordRows = shortRows && startsOnBytes(dstLayout, box) && startsOnBytes(srcLayout, box);
  detail::withOperation(f, [&](auto op) {
    if (wordRows)
      return combineWordRows(static_cast<std::uint8_t*>(dst), dstLayout, static_cast<const std::uint8_t*>(src),
                             srcLayout, box, op);
    forEachStretch(
        box,
        [=](std::uint64_t count, std::uint64_t dstBit, std::uint64_t srcBit) {
          transformStretch<edge>(dst, dstBit, SourceBits(src, srcBit), count, op);
          return true;
        },
        dstLayout, srcLayout);
  });
}

}  // namespace

void copyRows(void* dst, const BitLayout& dstLayout, const void* src, const BitLayout& srcLayout,
              const SbBox3i32& box) {
  combineRows(dst, dstLayout, src, srcLayout, box, TruthTable::CopyB);
}

void fillRows(void* dst, const BitLayout& layout, const SbBox3i32& box, bool value) {
  if (value) {
    transform<Edge::Plain>(dst, layout, box, detail::operation<TruthTable::One>);
  } else {
    transform<Edge::Plain>(dst, layout, box, detail::operation<TruthTable::Zero>);
  }
}

void invertRows(void* dst, const BitLayout& layout, const SbBox3i32& box) {
  invert<Edge::Plain>(dst, layout, box);
}

void invertRowsShared(void* dst, const BitLayout& layout, const SbBox3i32& box) {
  invert<Edge::Shared>(dst, layout, box);
}

void combineRows(void* dst, const BitLayout& dstLayout, const void* src, const BitLayout& srcLayout,
                 const SbBox3i32& box, TruthTable f) {
  combine<Edge::Plain>(dst, dstLayout, src, srcLayout, box, f);
}

void combineRowsShared(void* dst, const BitLayout& dstLayout, const void* src, const BitLayout& srcLayout,
                       const SbBox3i32& box, TruthTable f) {
  combine<Edge::Shared>(dst, dstLayout, src, srcLayout, box, f);
}

std::uint64_t countRows(const void* bits, const BitLayout& layout, const SbBox3i32& box) {
  std::uint64_t sum = 0;
  if (isForColumns(layout, box)) {
    detail::forEachColumn(bits, layout, box, [&](const detail::BoxColumn& column, std::int64_t) {
      for (std::int64_t z = 0; z < box.size(2); ++z) sum += column.slice(z).countSet();
      return true;
    });
    return sum;
  }
  forEachStretch(
      box,
      [&](std::uint64_t count, std::uint64_t bit) {
        sum += detail::countStretch(SourceBits(bits, bit), count);
        return true;
      },
      layout);
  return sum;
}

std::optional<bool> uniformValue(const void* bits, const BitLayout& layout, const SbBox3i32& box) {
  if (box.isEmpty()) return std::nullopt;
  const SbVec3i32& first = box.getMin();
  const bool value = SourceBits(bits, layout.bit(first[0], first[1], first[2])).part(0, 1) != 0;
  const Word ground = value ? ~Word{0} : 0;
  bool uniform = true;
  if (isForColumns(layout, box)) {
    detail::forEachColumn(bits, layout, box, [&](const detail::BoxColumn& column, std::int64_t) {
      for (std::int64_t z = 0; z < box.size(2) && uniform; ++z) uniform = column.slice(z).unlike(ground) == 0;
      return uniform;
    });
    return uniform ? std::optional(value) : std::nullopt;
  }
  forEachStretch(
      box,
      [&](std::uint64_t count, std::uint64_t bit) {
        uniform = detail::findFirstUnlike(SourceBits(bits, bit), count, ground) == count;
        return uniform;
      },
      layout);
  return uniform ? std::optional(value) : std::nullopt;
}

}  // namespace hxvoxora
