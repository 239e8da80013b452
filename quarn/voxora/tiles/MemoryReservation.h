#pragma once

#include <cstddef>
#include <utility>

#include "quarn/voxora/export.h"

namespace hxvoxora {

/// Bytes of the memory budget that a buffer takes as long as this object lives. Tiles make room for them.
class QUARN_VOXORA_API MemoryReservation {
public:
  /// Buffers smaller than this are counted, but never refused.
  static constexpr std::size_t alwaysGranted = std::size_t{1} << 20;

  MemoryReservation() = default;

  /// Throws McException telling the sizes when the budget does not hold so many bytes beside those of other buffers.
  explicit MemoryReservation(std::size_t bytes);

  MemoryReservation(MemoryReservation&& other) noexcept : bytes_(std::exchange(other.bytes_, 0)) {}
  MemoryReservation& operator=(MemoryReservation&& other) noexcept {
    std::swap(bytes_, other.bytes_);
    return *this;
  }
  ~MemoryReservation();

  std::size_t bytes() const { return bytes_; }

private:
  std::size_t bytes_ = 0;
};

}  // namespace hxvoxora
