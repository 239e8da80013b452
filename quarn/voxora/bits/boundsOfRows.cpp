#include <algorithm>
#include <bit>

#include "quarn/voxora/bits/BitRows.h"
#include "quarn/voxora/bits/detail/WordRows.h"

/// The smallest box around set voxels.
namespace hxvoxora {

namespace {

using detail::BoxColumn;
using detail::ColumnSlice;
using detail::SourceBits;
using detail::Word;

SbVec3i32 place(std::int64_t x, std::int64_t y, std::int64_t z) {
  return SbVec3i32(static_cast<std::int32_t>(x), static_cast<std::int32_t>(y), static_cast<std::int32_t>(z));
}

/// The bounds of one column, grown slice by slice: first slice from the front, last slice from the back, and between
/// them only what may still widen the bounds is looked at.
class ColumnBounds {
public:
  ColumnBounds(const BoxColumn& column, std::int64_t depth) : column_(column), firstZ_(0), lastZ_(depth - 1) {
    while (firstZ_ <= lastZ_ && column_.slice(firstZ_).unlike(0) == 0) ++firstZ_;
    if (isEmpty()) return;
    while (column_.slice(lastZ_).unlike(0) == 0) --lastZ_;
    firstY_ = column_.slice(firstZ_).rowCount();
    for (std::int64_t z = firstZ_; z <= lastZ_ && !isFull(); ++z) widen(column_.slice(z));
  }

  bool isEmpty() const { return firstZ_ > lastZ_; }

  /// In voxels from the first one of the box; `x` is that of the column.
  SbBox3i32 box(std::int64_t x) const {
    const Word columns = detail::ordered(anyRow_);
    const std::int64_t origin = x - column_.lead();
    return SbBox3i32(place(origin + std::countl_zero(columns), firstY_, firstZ_),
                     place(origin + 63 - std::countr_zero(columns), lastY_, lastZ_));
  }

private:
  bool isFull() const { return firstY_ == 0 && lastY_ == column_.slice(0).rowCount() - 1 && anyRow_ == column_.mask(); }

  void widen(const ColumnSlice& slice) {
    if (anyRow_ != column_.mask()) anyRow_ |= slice.unlike(0);
    std::int64_t y = 0;
    while (y < firstY_ && slice.row(y) == 0) ++y;
    firstY_ = y;
    for (y = slice.rowCount() - 1; y > lastY_ && slice.row(y) == 0;) --y;
    lastY_ = y;
  }

  const BoxColumn column_;
  std::int64_t firstZ_, lastZ_, firstY_ = 0, lastY_ = -1;
  Word anyRow_ = 0;
};

SbBox3i32 boundsOfWords(const void* bits, const BitLayout& layout, const SbBox3i32& box) {
  const SbVec3i32& origin = box.getMin();
  SbBox3i32 bounds;
  detail::forEachColumn(bits, layout, box, [&](const BoxColumn& column, std::int64_t x) {
    const ColumnBounds found(column, box.size(2));
    if (found.isEmpty()) return true;
    const SbBox3i32 inside = found.box(x);
    const auto moved = [&](const SbVec3i32& p) { return place(p[0] + origin[0], p[1] + origin[1], p[2] + origin[2]); };
    bounds.extendBy(SbBox3i32(moved(inside.getMin()), moved(inside.getMax())));
    return true;
  });
  return bounds;
}

}  // namespace

SbBox3i32 boundsOfRows(const void* bits, const BitLayout& layout, const SbBox3i32& box) {
  if (box.isEmpty()) return SbBox3i32();
  if (detail::hasShortWordRows(layout, box)) return boundsOfWords(bits, layout, box);
  const SbVec3i32 &min = box.getMin(), &max = box.getMax();
  SbBox3i32 bounds;
  // Columns of up to 64 voxels: what is set in any of their rows tells the ends along x at once.
  for (std::int64_t x = min[0]; x <= max[0]; x += 64) {
    const auto n = static_cast<unsigned>(std::min<std::int64_t>(64, max[0] - x + 1));
    Word anyRow = 0;
    std::int64_t firstY = max[1], lastY = min[1], firstZ = max[2], lastZ = min[2];
    for (std::int64_t z = min[2]; z <= max[2]; ++z) {
      std::uint64_t bit = layout.bit(static_cast<std::int32_t>(x), min[1], static_cast<std::int32_t>(z));
      for (std::int64_t y = min[1]; y <= max[1]; ++y, bit += static_cast<std::uint64_t>(layout.rowStride)) {
        const Word row = SourceBits(bits, bit).part(0, n);
        if (row == 0) continue;
        anyRow |= row;
        firstY = std::min(firstY, y);
        lastY = std::max(lastY, y);
        firstZ = std::min(firstZ, z);
        lastZ = z;
      }
    }
    if (anyRow == 0) continue;
    bounds.extendBy(SbBox3i32(place(x + std::countl_zero(anyRow), firstY, firstZ),
                              place(x + 63 - std::countr_zero(anyRow), lastY, lastZ)));
  }
  return bounds;
}

}  // namespace hxvoxora
