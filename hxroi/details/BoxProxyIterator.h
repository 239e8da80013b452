#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>

#include "quarn/base/McVec3i.h"

namespace hxroi::details {

/// Walks the voxels of a box inside a bit buffer: x fastest, then y, then z. `Reference` is made from the buffer and
/// the index of a bit. The end stands at the position (0, 0, size.z).
template <class Reference>
class BoxProxyIterator {
public:
  using iterator_category = std::forward_iterator_tag;
  using value_type = bool;
  using difference_type = std::ptrdiff_t;
  using pointer = void;
  using reference = Reference;

  BoxProxyIterator() = default;

  /// `firstBit` is the index of the voxel at `position`, which counts inside the box of `size`.
  BoxProxyIterator(std::uint8_t* bits, const McVec3i& bufferDimensions, const McVec3i& size, const McVec3i& position,
                   std::uint64_t firstBit)
      : bits_(bits), bufferDimensions_(bufferDimensions), size_(size), position_(position), bit_(firstBit) {}

  Reference operator*() const { return Reference(bits_, bit_); }

  const McVec3i& position() const { return position_; }

  BoxProxyIterator& operator++() {
    ++bit_;
    if (++position_.x < size_.x) return *this;
    position_.x = 0;
    bit_ += rowStride() - static_cast<std::uint64_t>(size_.x);
    if (++position_.y < size_.y) return *this;
    position_.y = 0;
    bit_ += rowStride() * static_cast<std::uint64_t>(bufferDimensions_.y - size_.y);
    ++position_.z;
    return *this;
  }

  BoxProxyIterator operator++(int) {
    BoxProxyIterator before = *this;
    ++*this;
    return before;
  }

  friend bool operator==(const BoxProxyIterator& a, const BoxProxyIterator& b) {
    return a.bits_ == b.bits_ && a.position_ == b.position_;
  }

private:
  std::uint64_t rowStride() const { return static_cast<std::uint64_t>(bufferDimensions_.x); }

  std::uint8_t* bits_ = nullptr;
  McVec3i bufferDimensions_;
  McVec3i size_;
  McVec3i position_;
  std::uint64_t bit_ = 0;
};

}  // namespace hxroi::details
