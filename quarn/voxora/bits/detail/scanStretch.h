#pragma once

#include <bit>
#include <cstdint>

#include "quarn/voxora/bits/detail/KernelTable.h"
#include "quarn/voxora/bits/detail/Stretch.h"

/// Passes that only read a stretch; inline, because boxes are made of many short ones.
namespace hxvoxora::detail {

/// A long stretch as bits up to a byte boundary, whole words, and bits behind them.
struct LongStretch {
  LongStretch(const SourceBits& bits, std::uint64_t count)
      : headBits(bits.bitsToByteBoundary(0)),
        wordCount((count - headBits) / 64),
        tailBits(static_cast<unsigned>((count - headBits) % 64)),
        words(bits.words(headBits).firstByte()) {}

  std::uint64_t tail() const { return headBits + 64 * wordCount; }

  unsigned headBits;
  std::uint64_t wordCount;
  unsigned tailBits;
  const std::uint8_t* words;
};

/// From this many bits on the words between the ends are work for a kernel.
constexpr std::uint64_t longBits = 64 * (longFrom + 1);

inline std::uint64_t countPart(const SourceBits& bits, std::uint64_t place, unsigned n) {
  return n == 0 ? 0 : static_cast<std::uint64_t>(std::popcount(bits.part(place, n)));
}

/// The number of set bits.
inline std::uint64_t countStretch(const SourceBits& bits, std::uint64_t count) {
  if (count >= longBits) {
    const LongStretch parts(bits, count);
    return countPart(bits, 0, parts.headBits) + kernels().countWords(parts.words, parts.wordCount) +
           countPart(bits, parts.tail(), parts.tailBits);
  }
  const SourceWords words = bits.words(0);
  const std::uint64_t wordCount = count / 64;
  std::uint64_t sum = 0;
  if (words.isByteAligned()) {
    for (std::uint64_t i = 0; i < wordCount; ++i) sum += static_cast<std::uint64_t>(std::popcount(words.aligned(i)));
  } else {
    for (std::uint64_t i = 0; i < wordCount; ++i) sum += static_cast<std::uint64_t>(std::popcount(words.shifted(i)));
  }
  return sum + countPart(bits, 64 * wordCount, count % 64);
}

/// The place of the first of n bits, 0 <= n <= 64, that differs from all bits of `ground`, which are equal; n when
/// there is none.
inline unsigned findUnlikeInPart(const SourceBits& bits, std::uint64_t place, unsigned n, Word ground) {
  if (n == 0) return 0;
  const Word unlike = (bits.part(place, n) ^ ground) & topBits(n);
  return unlike == 0 ? n : static_cast<unsigned>(std::countl_zero(unlike));
}

/// findFirstUnlike() for longBits bits or more.
inline std::uint64_t findFirstUnlikeInLong(const SourceBits& bits, std::uint64_t count, Word ground) {
  // Runs are short as a rule, and their end is near.
  if (const unsigned place = findUnlikeInPart(bits, 0, 64, ground); place < 64) return place;
  const LongStretch parts(bits, count);
  const std::uint64_t equal = kernels().equalWordsAtFront(parts.words, parts.wordCount, ground);
  const unsigned left = equal < parts.wordCount ? 64 : parts.tailBits;
  const std::uint64_t place = parts.headBits + 64 * equal;
  return place + findUnlikeInPart(bits, place, left, ground);
}

/// The place of the first bit that differs from all bits of `ground`, which are equal; `count` when there is none.
inline std::uint64_t findFirstUnlike(const SourceBits& bits, std::uint64_t count, Word ground) {
  if (count >= longBits) return findFirstUnlikeInLong(bits, count, ground);
  std::uint64_t place = 0;
  for (; place + 64 <= count; place += 64)
    if (const unsigned in = findUnlikeInPart(bits, place, 64, ground); in < 64) return place + in;
  return place + findUnlikeInPart(bits, place, static_cast<unsigned>(count - place), ground);
}

/// Where the zero words that end at about `end` begin; up to seven bits behind `end` are known to be zero.
inline std::uint64_t skipZerosBefore(const SourceBits& bits, std::uint64_t end) {
  end += bits.bitsToByteBoundary(end);
  const std::uint64_t wordCount = end / 64;
  return end - 64 * kernels().zeroWordsAtBack(bits.words(end - 64 * wordCount).firstByte(), wordCount);
}

/// The place of the last set bit; `count` when there is none.
inline std::uint64_t findLastInStretch(const SourceBits& bits, std::uint64_t count) {
  for (std::uint64_t end = count; end > 0;) {
    const auto n = static_cast<unsigned>(end < 64 ? end : 64);
    if (const Word word = bits.part(end - n, n)) return end - n + 63 - static_cast<unsigned>(std::countr_zero(word));
    const bool isFirst = end == count;
    end -= n;
    if (isFirst && count >= longBits) end = skipZerosBefore(bits, end);
  }
  return count;
}

}  // namespace hxvoxora::detail
