#pragma once

#include <cstddef>
#include <span>
#include <vector>

namespace hxvoxora::detail {

/// Room for bytes that is kept from one use to the next; made thread_local it saves an allocation for each tile.
class ScratchBytes {
public:
  /// Room for `size` bytes, which hold whatever was there before. Until the next call.
  std::span<std::byte> get(std::size_t size) {
    if (bytes_.size() < size) bytes_.resize(size);
    return std::span(bytes_).first(size);
  }

private:
  std::vector<std::byte> bytes_;
};

}  // namespace hxvoxora::detail
