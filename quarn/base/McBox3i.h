#pragma once

#include "quarn/base/McBox3.h"
#include "quarn/base/McDim3l.h"
#include "quarn/base/McVec3i.h"

/// A box of voxels; both bounds are voxel indices inside the box. The empty box has minimum 2147483647 and maximum
/// -2147483648 on every axis.
class McBox3i : public McBox3<int> {
public:
  using McBox3<int>::McBox3;

  /// Voxels along each axis, in 64 bits; 0 on all axes for an empty box.
  constexpr McDim3l getSize() const noexcept {
    return isEmpty() ? McDim3l() : McDim3l(extent(0), extent(2), extent(4));
  }

private:
  constexpr std::int64_t extent(int index) const noexcept {
    return static_cast<std::int64_t>((*this)[index + 1]) - (*this)[index] + 1;
  }
};
