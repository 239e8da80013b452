#include <bit>

#include "quarn/voxora/bits/detail/KernelTable.h"
#include "quarn/voxora/bits/detail/Operations.h"

/// The kernels for any processor, 64 bits at a time. The vector forms end with them.
namespace hxvoxora::detail {

namespace {

template <unsigned table>
void combineWords(std::uint8_t* dst, SourceWords src, std::size_t count) {
  using F = Operation<table>;
  const F f;
  if constexpr (!F::usesB) {
    for (std::size_t i = 0; i < count; ++i) storeNative(dst + 8 * i, f(loadNative<Word>(dst + 8 * i), 0));
  } else if (src.isByteAligned()) {
    for (std::size_t i = 0; i < count; ++i) storeNative(dst + 8 * i, f(loadNative<Word>(dst + 8 * i), src.aligned(i)));
  } else {
    for (std::size_t i = 0; i < count; ++i) storeNative(dst + 8 * i, f(loadNative<Word>(dst + 8 * i), src.shifted(i)));
  }
}

template <unsigned table>
WordSummary combineBlocks(std::uint8_t* dst, const std::uint8_t* a, const std::uint8_t* b, std::size_t byteCount) {
  const Operation<table> f;
  Word anySet = 0, allSet = ~Word{0};
  for (std::size_t i = 0; i < byteCount; i += sizeof(Word)) {
    const Word result = f(loadNative<Word>(a + i), loadNative<Word>(b + i));
    storeNative(dst + i, result);
    anySet |= result;
    allSet &= result;
  }
  return {anySet != 0, allSet != ~Word{0}};
}

std::uint64_t countWords(const std::uint8_t* words, std::size_t count) {
  std::uint64_t sums[4] = {};
  std::size_t i = 0;
  for (; i + 4 <= count; i += 4)
    for (std::size_t k = 0; k < 4; ++k)
      sums[k] += static_cast<std::uint64_t>(std::popcount(loadNative<Word>(words + 8 * (i + k))));
  for (; i < count; ++i) sums[0] += static_cast<std::uint64_t>(std::popcount(loadNative<Word>(words + 8 * i)));
  return sums[0] + sums[1] + sums[2] + sums[3];
}

std::size_t equalWordsAtFront(const std::uint8_t* words, std::size_t count, Word ground) {
  std::size_t i = 0;
  while (i < count && loadNative<Word>(words + 8 * i) == ground) ++i;
  return i;
}

std::size_t zeroWordsAtBack(const std::uint8_t* words, std::size_t count) {
  std::size_t zeros = 0;
  while (zeros < count && loadNative<Word>(words + 8 * (count - zeros - 1)) == 0) ++zeros;
  return zeros;
}

}  // namespace

constinit const KernelTable scalarKernels{
    InstructionSet::Scalar,
    forAllTables([](auto f) -> KernelTable::CombineWords { return &combineWords<f()>; }),
    forAllTables([](auto f) -> KernelTable::CombineBlocks { return &combineBlocks<f()>; }),
    &countWords,
    &equalWordsAtFront,
    &zeroWordsAtBack,
    &appendRows<Word>,
    &copyColumn};

}  // namespace hxvoxora::detail
