#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "quarn/voxora/bits/detail/KernelTable.h"
#include "quarn/voxora/bits/detail/Stretch.h"

/// The pass that changes a stretch; inline, because boxes are made of many short ones.
namespace hxvoxora::detail {

/// longFrom words or more.
template <typename Words, typename Operation>
void transformLong(std::uint8_t* p, Words words, std::size_t count, Operation op) {
  if constexpr (Operation::isConstant) {
    std::memset(p, op(0, 0) != 0 ? 0xff : 0, 8 * count);
  } else {
    kernels().combineWords[Operation::index](p, words, count);
  }
}

/// Words of a stretch whose first bit is the top of a byte.
template <typename Words, typename Operation>
void transformWords(std::uint8_t* p, Words words, std::size_t count, Operation op) {
  if (count >= longFrom) return transformLong(p, words, count, op);
  // Rows of a tile are often one word long, for which any other form is dear.
  if (count == 1) {
    storeNative(p, op(loadNative<Word>(p), words.isByteAligned() ? words.aligned(0) : words.shifted(0)));
  } else if (words.isByteAligned()) {
    for (std::size_t i = 0; i < count; ++i) storeNative(p + 8 * i, op(loadNative<Word>(p + 8 * i), words.aligned(i)));
  } else {
    for (std::size_t i = 0; i < count; ++i) storeNative(p + 8 * i, op(loadNative<Word>(p + 8 * i), words.shifted(i)));
  }
}

/// The bits of `mask` in the word at `p` become op(bit, other); the other bits are written back as they were.
template <typename Operation>
void updateWord(std::uint8_t* p, Word mask, Word other, Operation op) {
  const Word old = loadWord(p);
  storeWord(p, (old & ~mask) | (op(old, other) & mask));
}

/// The bits before the first whole byte, or before the first whole word where the stretch is ours alone and long
/// enough; returns how many.
template <Edge edge, typename Source, typename Operation>
unsigned transformHead(std::uint8_t* p, unsigned lead, Source source, std::uint64_t count, Operation op) {
  if (edge == Edge::Plain && lead + count > 56) {
    const auto n = static_cast<unsigned>(std::min<std::uint64_t>(64 - lead, count));
    updateWord(p, topBits(n) >> lead, source.part(0, n) >> lead, op);
    return n;
  }
  const auto n = static_cast<unsigned>(std::min<std::uint64_t>(8 - lead, count));
  updateByte<edge>(p, static_cast<std::uint8_t>(topBits(n) >> lead >> 56), source.part(0, n) >> lead >> 56, op);
  return n;
}

/// The last n bits, n < 64, from the top of a byte on.
template <Edge edge, typename Operation>
void transformTail(std::uint8_t* p, unsigned n, Word other, Operation op) {
  const auto wholeBytes = [&]<typename Unit>(Unit) {
    constexpr unsigned bits = 8 * sizeof(Unit);
    if (n < bits) return;
    const Word old = Word{loadOrdered<Unit>(p)} << (64 - bits);
    storeOrdered(p, static_cast<Unit>(op(old, other) >> (64 - bits)));
    other <<= bits;
    n -= bits;
    p += sizeof(Unit);
  };
  wholeBytes(std::uint32_t{});
  wholeBytes(std::uint16_t{});
  wholeBytes(std::uint8_t{});
  if (n != 0) updateByte<edge>(p, static_cast<std::uint8_t>(0xffu << (8 - n)), other >> 56, op);
}

/// A stretch of our own of up to 64 bits in eight or nine bytes.
template <typename Operation>
void transformShort(std::uint8_t* p, unsigned lead, unsigned count, Word other, Operation op) {
  updateWord(p, topBits(count) >> lead, other >> lead, op);
  if (lead + count <= 64) return;
  updateByte<Edge::Plain>(p + 8, static_cast<std::uint8_t>(0xffu << (72 - lead - count)), other << (64 - lead) >> 56,
                          op);
}

/// All bits of the stretch become op(bit, bit of the source); `op` is an Operation.
template <Edge edge, typename Source, typename Operation>
void transformStretch(void* bytes, std::uint64_t firstBit, Source source, std::uint64_t count, Operation op) {
  if (count == 0) return;
  std::uint8_t* p = static_cast<std::uint8_t*>(bytes) + (firstBit >> 3);
  std::uint64_t done = 0;
  const unsigned lead = firstBit & 7;
  if (edge == Edge::Plain && count <= 64 && lead + count > 56 && lead + count != 64)
    return transformShort(p, lead, static_cast<unsigned>(count), source.part(0, static_cast<unsigned>(count)), op);
  if (lead != 0) {
    done = transformHead<edge>(p, lead, source, count, op);
    p += (lead + done) / 8;
  }
  const std::size_t wordCount = (count - done) / 64;
  if (wordCount != 0) transformWords(p, source.words(done), wordCount, op);
  p += 8 * wordCount;
  done += 64 * wordCount;
  if (const auto rest = static_cast<unsigned>(count - done); rest != 0)
    transformTail<edge>(p, rest, source.part(done, rest), op);
}

}  // namespace hxvoxora::detail
