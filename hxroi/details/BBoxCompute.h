#pragma once

#include <cstdint>

#include "hxroi/details/boxes.h"
#include "hxroi/export.h"
#include "quarn/base/McBox3i.h"
#include "quarn/base/McVec3i.h"

namespace hxroi::details {

/// Reduction for BoxProxy::apply: the box of the set voxels, in coordinates of the view.
class HXROI_API BBoxCompute {
public:
  BBoxCompute() = default;

  /// `region` has exclusive upper bounds.
  explicit BBoxCompute(const McBox3i& region) : region_(region), position_(region.getMin()) {}

  /// The next voxel of the region, x fastest.
  void operator()(bool voxel) {
    if (voxel) box_.extendBy(position_);
    advance();
  }

  /// The next row of the region as `count` bits from `firstBit` on.
  void visitRow(const std::uint8_t* bits, std::uint64_t firstBit, std::uint64_t count);

  void join(const BBoxCompute& right);

  const McBox3i& box() const { return box_; }

private:
  void advance();
  void advanceRow();

  McBox3i box_ = emptyBox<int>();
  McBox3i region_;
  McVec3i position_;
};

}  // namespace hxroi::details
