#include "quarn/voxora/bits/BitKernels.h"

#include <cstring>

#include "quarn/voxora/bits/detail/Operations.h"
#include "quarn/voxora/bits/detail/scanStretch.h"
#include "quarn/voxora/bits/detail/transformStretch.h"

namespace hxvoxora {

namespace {

using detail::Edge;
using detail::NoBits;
using detail::SourceBits;
using detail::Word;

template <Edge edge>
void fillStretch(void* dst, std::uint64_t dstBit, std::uint64_t count, bool value) {
  const Word pattern = value ? ~Word{0} : 0;
  detail::transformStretch<edge>(dst, dstBit, NoBits(), count, [pattern](Word, Word) { return pattern; });
}

template <Edge edge>
void combineStretch(void* dst, std::uint64_t dstBit, const void* src, std::uint64_t srcBit, std::uint64_t count,
                    TruthTable f) {
  detail::withOperation(
      f, [&](auto op) { detail::transformStretch<edge>(dst, dstBit, SourceBits(src, srcBit), count, op); });
}

}  // namespace

void copyBits(void* dst, std::uint64_t dstBit, const void* src, std::uint64_t srcBit, std::uint64_t count) {
  if (count == 0) return;
  if (((dstBit | srcBit | count) & 7) == 0) {
    std::memcpy(static_cast<std::uint8_t*>(dst) + dstBit / 8, static_cast<const std::uint8_t*>(src) + srcBit / 8,
                count / 8);
    return;
  }
  detail::transformStretch<Edge::Plain>(dst, dstBit, SourceBits(src, srcBit), count, [](Word, Word b) { return b; });
}

void fillBits(void* dst, std::uint64_t dstBit, std::uint64_t count, bool value) {
  fillStretch<Edge::Plain>(dst, dstBit, count, value);
}

void fillBitsShared(void* dst, std::uint64_t dstBit, std::uint64_t count, bool value) {
  fillStretch<Edge::Shared>(dst, dstBit, count, value);
}

void invertBits(void* dst, std::uint64_t dstBit, std::uint64_t count) {
  detail::transformStretch<Edge::Plain>(dst, dstBit, NoBits(), count, [](Word a, Word) { return ~a; });
}

void invertBitsShared(void* dst, std::uint64_t dstBit, std::uint64_t count) {
  detail::transformStretch<Edge::Shared>(dst, dstBit, NoBits(), count, [](Word a, Word) { return ~a; });
}

void combineBits(void* dst, std::uint64_t dstBit, const void* src, std::uint64_t srcBit, std::uint64_t count,
                 TruthTable f) {
  combineStretch<Edge::Plain>(dst, dstBit, src, srcBit, count, f);
}

void combineBitsShared(void* dst, std::uint64_t dstBit, const void* src, std::uint64_t srcBit, std::uint64_t count,
                       TruthTable f) {
  combineStretch<Edge::Shared>(dst, dstBit, src, srcBit, count, f);
}

std::uint64_t countBits(const void* bits, std::uint64_t firstBit, std::uint64_t count) {
  return detail::countStretch(SourceBits(bits, firstBit), count);
}

std::uint64_t findFirstSet(const void* bits, std::uint64_t firstBit, std::uint64_t count) {
  return detail::findFirstUnlike(SourceBits(bits, firstBit), count, 0);
}

std::uint64_t findFirstClear(const void* bits, std::uint64_t firstBit, std::uint64_t count) {
  return detail::findFirstUnlike(SourceBits(bits, firstBit), count, ~Word{0});
}

std::uint64_t findLastSet(const void* bits, std::uint64_t firstBit, std::uint64_t count) {
  return detail::findLastInStretch(SourceBits(bits, firstBit), count);
}

WordSummary combineBlocks(void* dst, const void* a, const void* b, std::size_t byteCount, TruthTable f) {
  Word anySet = 0, allSet = ~Word{0};
  detail::withOperation(f, [&](auto op) {
    auto* out = static_cast<std::uint8_t*>(dst);
    const auto* left = static_cast<const std::uint8_t*>(a);
    const auto* right = static_cast<const std::uint8_t*>(b);
    for (std::size_t i = 0; i < byteCount; i += sizeof(Word)) {
      const Word result = op(detail::loadNative<Word>(left + i), detail::loadNative<Word>(right + i));
      detail::storeNative(out + i, result);
      anySet |= result;
      allSet &= result;
    }
  });
  return {anySet != 0, allSet != ~Word{0}};
}

}  // namespace hxvoxora
