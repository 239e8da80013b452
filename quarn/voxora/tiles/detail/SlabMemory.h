#pragma once

#include <cstddef>

namespace hxvoxora::detail {

/// Memory of one slab of payloads, taken from the system and given back to it whole: aligned to its size, so that it
/// can be one large page, and without a byte of address space beside it. Throws std::bad_alloc.
class SlabMemory {
public:
  static constexpr std::size_t byteSize = std::size_t{1} << 21;

  SlabMemory();
  SlabMemory(const SlabMemory&) = delete;
  SlabMemory& operator=(const SlabMemory&) = delete;
  ~SlabMemory();

  std::byte* bytes() const { return bytes_; }

private:
  std::byte* bytes_;
};

}  // namespace hxvoxora::detail
