#include "hxroi/details/boxes.h"

#include <algorithm>

namespace hxroi {

McBox3i intersection(const McBox3i& a, const McBox3i& b) noexcept {
  if (a.isEmpty() || b.isEmpty()) return emptyBox<int>();
  McBox3i common;
  for (int i = 0; i < 6; i += 2) {
    common[i] = std::max(a[i], b[i]);
    common[i + 1] = std::min(a[i + 1], b[i + 1]);
  }
  return common.isEmpty() ? emptyBox<int>() : common;
}

McBox3i extended(const McBox3i& a, const McBox3i& b) noexcept {
  if (a.isEmpty()) return b;
  if (b.isEmpty()) return a;
  McBox3i both = a;
  both.extendBy(b);
  return both;
}

McBox3i boxAt(const McVec3i& origin, const McVec3i& size) noexcept {
  if (size.x <= 0 || size.y <= 0 || size.z <= 0) return emptyBox<int>();
  return {origin, origin + size - McVec3i(1, 1, 1)};
}

McBox3i wholeBox(const McVec3i& dimensions) noexcept {
  return boxAt({0, 0, 0}, dimensions);
}

McVec3i sizeOf(const McBox3i& box) noexcept {
  if (box.isEmpty()) return {0, 0, 0};
  return box.getMax() - box.getMin() + McVec3i(1, 1, 1);
}

}  // namespace hxroi
