#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace hxvoxora::detail {

/// Appends an unsigned number, least significant byte first.
template <std::unsigned_integral T>
void appendLittleEndian(std::vector<std::byte>& bytes, T value) {
  for (std::size_t i = 0; i < sizeof(T); ++i) bytes.push_back(static_cast<std::byte>(value >> (8 * i) & 0xFF));
}

/// The unsigned number in the sizeof(T) bytes at `bytes`, least significant byte first.
template <std::unsigned_integral T>
T readLittleEndian(const std::byte* bytes) {
  T value = 0;
  for (std::size_t i = 0; i < sizeof(T); ++i) value = static_cast<T>(value | std::to_integer<T>(bytes[i]) << (8 * i));
  return value;
}

}  // namespace hxvoxora::detail
