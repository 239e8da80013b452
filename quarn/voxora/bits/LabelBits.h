#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

/// Bits made of labels of one byte.
namespace hxvoxora {

/// Labels that are looked at together.
constexpr std::size_t labelsPerWord = 64;

/// Bit i, counted from the least significant one, tells whether label i of 64 is `value`.
inline std::uint64_t findLabel(const std::uint8_t* labels, std::uint8_t value) {
#if defined(__SSE2__)
  const __m128i wanted = _mm_set1_epi8(static_cast<char>(value));
  const auto sixteen = [&](int part) {
    const __m128i some = _mm_loadu_si128(reinterpret_cast<const __m128i*>(labels) + part);
    return std::uint64_t{static_cast<std::uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(some, wanted)))} << (16 * part);
  };
  return sixteen(0) | sixteen(1) | sixteen(2) | sixteen(3);
#else
  std::uint64_t found = 0;
  for (std::size_t i = 0; i < labelsPerWord; ++i) found |= std::uint64_t{labels[i] == value} << i;
  return found;
#endif
}

/// The same bits as they stand in a packed array: the first in the most significant place of the first byte. Copy the
/// word to the array with std::memcpy.
inline std::uint64_t inPackedOrder(std::uint64_t bits) {
  static_assert(std::endian::native == std::endian::little, "the byte order of a word decides the order of its bits");
  bits = (bits & 0x5555555555555555) << 1 | (bits >> 1 & 0x5555555555555555);
  bits = (bits & 0x3333333333333333) << 2 | (bits >> 2 & 0x3333333333333333);
  return (bits & 0x0F0F0F0F0F0F0F0F) << 4 | (bits >> 4 & 0x0F0F0F0F0F0F0F0F);
}

}  // namespace hxvoxora
