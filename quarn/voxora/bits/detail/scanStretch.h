#pragma once

#include <bit>
#include <cstdint>

#include "quarn/voxora/bits/detail/Stretch.h"

/// Passes that only read a stretch; inline, because boxes are made of many short ones.
namespace hxvoxora::detail {

/// The number of set bits.
inline std::uint64_t countStretch(const SourceBits& bits, std::uint64_t count) {
  const SourceWords words = bits.words(0);
  const std::uint64_t wordCount = count / 64;
  std::uint64_t sum = 0;
  if (words.isByteAligned()) {
    for (std::uint64_t i = 0; i < wordCount; ++i) sum += static_cast<std::uint64_t>(std::popcount(words.aligned(i)));
  } else {
    for (std::uint64_t i = 0; i < wordCount; ++i) sum += static_cast<std::uint64_t>(std::popcount(words.shifted(i)));
  }
  if (const auto rest = static_cast<unsigned>(count % 64); rest != 0)
    sum += static_cast<std::uint64_t>(std::popcount(bits.part(64 * wordCount, rest)));
  return sum;
}

/// The place of the first bit that differs from all bits of `ground`, which are equal; `count` when there is none.
inline std::uint64_t findFirstUnlike(const SourceBits& bits, std::uint64_t count, Word ground) {
  const SourceWords words = bits.words(0);
  const std::uint64_t wordCount = count / 64;
  const auto search = [&](auto wordAt) {
    std::uint64_t i = 0;
    while (i < wordCount && wordAt(i) == ground) ++i;
    return i;
  };
  const std::uint64_t i = words.isByteAligned() ? search([&](std::uint64_t k) { return words.aligned(k); })
                                                : search([&](std::uint64_t k) { return words.shifted(k); });
  const auto left = static_cast<unsigned>(i < wordCount ? 64 : count % 64);
  if (left == 0) return count;
  const Word unlike = (bits.part(64 * i, left) ^ ground) & topBits(left);
  return unlike == 0 ? count : 64 * i + static_cast<unsigned>(std::countl_zero(unlike));
}

/// The place of the last set bit; `count` when there is none.
inline std::uint64_t findLastInStretch(const SourceBits& bits, std::uint64_t count) {
  for (std::uint64_t end = count; end > 0;) {
    const auto n = static_cast<unsigned>(end < 64 ? end : 64);
    if (const Word word = bits.part(end - n, n)) return end - n + 63 - static_cast<unsigned>(std::countr_zero(word));
    end -= n;
  }
  return count;
}

}  // namespace hxvoxora::detail
