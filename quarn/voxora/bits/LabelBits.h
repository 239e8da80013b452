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

/// The way back: gives those of 64 labels a value whose bits are set in a word of a packed array; they must be 0, or
/// the same as it.
inline void paint(std::uint64_t* labels, std::uint64_t packed, std::uint8_t value) {
#if defined(__SSE2__)
  const __m128i own = _mm_set1_epi64x(0x0102040810204080);  // the most significant bit belongs to the first label
  const __m128i wanted = _mm_set1_epi8(static_cast<char>(value));
  auto* const sixteen = reinterpret_cast<__m128i*>(labels);
  for (int i = 0; packed != 0; ++i, packed >>= 16) {
    // Eight times the first byte, eight times the second one.
    __m128i bits = _mm_cvtsi32_si128(static_cast<int>(packed & 0xFFFF));
    bits = _mm_unpacklo_epi8(bits, bits);
    bits = _mm_unpacklo_epi16(bits, bits);
    bits = _mm_unpacklo_epi32(bits, bits);
    const __m128i set = _mm_cmpeq_epi8(_mm_and_si128(bits, own), own);
    const __m128i former = _mm_loadu_si128(sixteen + i);
    _mm_storeu_si128(sixteen + i, _mm_or_si128(former, _mm_and_si128(set, wanted)));
  }
#else
  auto* const bytes = reinterpret_cast<std::uint8_t*>(labels);
  for (std::size_t i = 0; packed != 0; i += 8, packed >>= 8)
    for (std::size_t bit = 0; bit < 8; ++bit)
      if (packed & 0x80U >> bit) bytes[i + bit] |= value;
#endif
}

}  // namespace hxvoxora
