#pragma once

#include <limits>

#include "hxroi/export.h"
#include "quarn/base/McBox3f.h"
#include "quarn/base/McBox3i.h"
#include "quarn/base/McVec3i.h"

/// Boxes of voxels as the masks use them. A box is empty when a maximum is below its minimum on any axis; both bounds
/// of a box of integers are voxel indices inside the box.
namespace hxroi {

/// What a view on voxels is made for.
enum class AccessMode {
  ReadOnly = 0,   ///< voxels are fetched, nothing is written back
  WriteOnly = 1,  ///< nothing is fetched, the whole box is overwritten when the view ends
  ReadWrite = 2   ///< voxels are fetched and written back
};

namespace details {

template <class T>
struct BoxOf;

template <>
struct BoxOf<int> {
  using Type = McBox3i;
};

template <>
struct BoxOf<float> {
  using Type = McBox3f;
};

}  // namespace details

/// The box that extends nothing: every minimum is the largest T, every maximum the lowest (`int` or `float`).
template <class T>
constexpr typename details::BoxOf<T>::Type emptyBox() noexcept {
  constexpr T high = std::numeric_limits<T>::max();
  constexpr T low = std::numeric_limits<T>::lowest();
  return {high, low, high, low, high, low};
}

/// The voxels that both boxes hold; the empty box when either is empty or they do not meet on some axis.
HXROI_API McBox3i intersection(const McBox3i& a, const McBox3i& b) noexcept;

/// The smallest box around both; an empty box adds nothing.
HXROI_API McBox3i extended(const McBox3i& a, const McBox3i& b) noexcept;

/// The box of `size` voxels that starts at `origin`; an empty one when a size is not positive.
HXROI_API McBox3i boxAt(const McVec3i& origin, const McVec3i& size) noexcept;

/// All voxels of a grid: (0, 0, 0) to `dimensions` - 1.
HXROI_API McBox3i wholeBox(const McVec3i& dimensions) noexcept;

/// Voxels along each axis; (0, 0, 0) for an empty box. `box` lies inside a grid, so the numbers fit.
HXROI_API McVec3i sizeOf(const McBox3i& box) noexcept;

}  // namespace hxroi
