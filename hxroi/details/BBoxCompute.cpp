#include "hxroi/details/BBoxCompute.h"

#include "quarn/voxora/bits/BitKernels.h"

namespace hxroi::details {

void BBoxCompute::advance() {
  if (++position_.x < region_[1]) return;
  advanceRow();
}

void BBoxCompute::advanceRow() {
  position_.x = region_[0];
  if (++position_.y < region_[3]) return;
  position_.y = region_[2];
  ++position_.z;
}

void BBoxCompute::visitRow(const std::uint8_t* bits, std::uint64_t firstBit, std::uint64_t count) {
  const std::uint64_t first = hxvoxora::findFirstSet(bits, firstBit, count);
  if (first < count) {
    const std::uint64_t last = hxvoxora::findLastSet(bits, firstBit, count);
    const int x = position_.x;
    box_.extendBy(McVec3i(x + static_cast<int>(first), position_.y, position_.z));
    box_.extendBy(McVec3i(x + static_cast<int>(last), position_.y, position_.z));
  }
  advanceRow();
}

void BBoxCompute::join(const BBoxCompute& right) {
  box_ = extended(box_, right.box_);
}

}  // namespace hxroi::details
