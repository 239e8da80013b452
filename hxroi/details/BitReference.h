#pragma once

#include <cstdint>

namespace hxroi::details {

/// One voxel of a bit buffer: reads as bool, is assigned a bool. Most significant bit first within a byte.
class BitReference {
public:
  BitReference(std::uint8_t* bits, std::uint64_t index)
      : byte_(bits + (index >> 3)), mask_(static_cast<std::uint8_t>(0x80U >> (index & 7U))) {}
  BitReference(const BitReference&) = default;

  operator bool() const { return (*byte_ & mask_) != 0; }

  /// A plain change of the byte: threads that write voxels of one byte must not use it at the same time.
  const BitReference& operator=(bool value) const {
    *byte_ = static_cast<std::uint8_t>(value ? *byte_ | mask_ : *byte_ & ~mask_);
    return *this;
  }
  const BitReference& operator=(const BitReference& other) const { return *this = static_cast<bool>(other); }

private:
  std::uint8_t* byte_;
  std::uint8_t mask_;
};

}  // namespace hxroi::details
