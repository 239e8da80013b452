#include "quarn/voxora/bits/BitKernels.h"

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
  if (value) {
    detail::transformStretch<edge>(dst, dstBit, NoBits(), count, detail::operation<TruthTable::One>);
  } else {
    detail::transformStretch<edge>(dst, dstBit, NoBits(), count, detail::operation<TruthTable::Zero>);
  }
}

template <Edge edge>
void invertStretch(void* dst, std::uint64_t dstBit, std::uint64_t count) {
  detail::transformStretch<edge>(dst, dstBit, NoBits(), count, detail::operation<TruthTable::NotA>);
}

template <Edge edge>
void combineStretch(void* dst, std::uint64_t dstBit, const void* src, std::uint64_t srcBit, std::uint64_t count,
                    TruthTable f) {
  detail::withOperation(
      f, [&](auto op) { detail::transformStretch<edge>(dst, dstBit, SourceBits(src, srcBit), count, op); });
}

}  // namespace

void copyBits(void* dst, std::uint64_t dstBit, const void* src, std::uint64_t srcBit, std::uint64_t count) {
  detail::transformStretch<Edge::Plain>(dst, dstBit, SourceBits(src, srcBit), count,
                                        detail::operation<TruthTable::CopyB>);
}

void fillBits(void* dst, std::uint64_t dstBit, std::uint64_t count, bool value) {
  fillStretch<Edge::Plain>(dst, dstBit, count, value);
}

void fillBitsShared(void* dst, std::uint64_t dstBit, std::uint64_t count, bool value) {
  fillStretch<Edge::Shared>(dst, dstBit, count, value);
}

void invertBits(void* dst, std::uint64_t dstBit, std::uint64_t count) {
  invertStretch<Edge::Plain>(dst, dstBit, count);
}

void invertBitsShared(void* dst, std::uint64_t dstBit, std::uint64_t count) {
  invertStretch<Edge::Shared>(dst, dstBit, count);
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
  return detail::kernels().combineBlocks[static_cast<unsigned>(f)](static_cast<std::uint8_t*>(dst),
                                                                   static_cast<const std::uint8_t*>(a),
                                                                   static_cast<const std::uint8_t*>(b), byteCount);
}

}  // namespace hxvoxora
