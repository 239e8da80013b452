#pragma once

#include <cstddef>
#include <cstdint>

#include "quarn/voxora/bits/BitKernels.h"
#include "quarn/voxora/bits/detail/Stretch.h"

namespace hxvoxora::detail {

/// Words above each other in a target whose rows are whole words, and the bits of a source that go there, which begin
/// anywhere.
struct WordColumn {
  std::uint8_t* dst;
  std::size_t dstStride;  ///< bytes
  const std::uint8_t* src;
  std::uint64_t srcBit;     ///< the first bit that goes into the first word
  std::uint64_t srcStride;  ///< bits
  unsigned lead;            ///< where in the words the bits begin
  unsigned width;           ///< how many bits go into a word, 1 <= width <= 64 - lead

  /// The places of the bits in a word.
  Word mask() const { return topBits(width) >> lead; }

  void skipRows(std::uint64_t count) {
    dst += count * dstStride;
    srcBit += count * srcStride;
  }
};

/// What has been seen in copied bits so far.
struct SeenBits {
  Word anySet = 0, allSet = ~Word{0};

  void add(Word word, Word mask) {
    anySet |= word & mask;
    allSet &= word | ~mask;
  }
  WordSummary summary() const { return {anySet != 0, allSet != ~Word{0}}; }
};

/// Where a column reads around the bits that it needs: up to the ninth byte from their first one on.
constexpr std::uint64_t columnReach = 9;

/// 64 bits from any bit on, out of nine bytes.
inline Word loadAnywhere(const std::uint8_t* bytes, std::uint64_t bit) {
  const std::uint8_t* const p = bytes + bit / 8;
  const unsigned shift = bit % 8;
  return loadWord(p) << shift | Word{p[8]} >> (8 - shift);
}

inline void storeMasked(std::uint8_t* p, Word word, Word mask) {
  storeWord(p, mask == ~Word{0} ? word : (loadWord(p) & ~mask) | (word & mask));
}

/// Copies `count` rows of a column.
inline void copyColumn(WordColumn column, std::uint64_t count, SeenBits& seen) {
  const Word mask = column.mask();
  for (; count != 0; --count, column.skipRows(1)) {
    const Word word = loadAnywhere(column.src, column.srcBit) >> column.lead;
    storeMasked(column.dst, word, mask);
    seen.add(word, mask);
  }
}

/// copyColumn() that reads only the bytes of the bits it needs.
inline void copyColumnExactly(WordColumn column, std::uint64_t count, SeenBits& seen) {
  const Word mask = column.mask();
  for (; count != 0; --count, column.skipRows(1)) {
    const Word word = SourceBits(column.src, column.srcBit).part(0, column.width) >> column.lead;
    storeMasked(column.dst, word, mask);
    seen.add(word, mask);
  }
}

}  // namespace hxvoxora::detail
