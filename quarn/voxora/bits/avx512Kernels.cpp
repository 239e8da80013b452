#include "quarn/voxora/bits/detail/KernelTable.h"

#if defined(__x86_64__)

#include <immintrin.h>

#include "quarn/voxora/bits/detail/Operations.h"

// Some compilers warn of the vectors that their own header leaves undefined on purpose.
#pragma GCC diagnostic ignored "-Wuninitialized"
#if !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#endif

/// At every function for the reason told beside the kernels of 256 bits.
#define QUARN_AVX512 __attribute__((target("avx2,avx512f,avx512bw,avx512vl,avx512vpopcntdq")))

namespace hxvoxora::detail {

namespace {

constexpr std::size_t vectorBytes = 64, vectorWords = vectorBytes / 8;

QUARN_AVX512 inline __m512i load(const std::uint8_t* p) {
  return _mm512_loadu_si512(p);
}

QUARN_AVX512 inline void store(std::uint8_t* p, __m512i bits) {
  _mm512_storeu_si512(p, bits);
}

/// A truth table of two operands as one of three of which the last does not matter.
constexpr int threeOperandTable(unsigned table) {
  unsigned wide = 0;
  for (unsigned i = 0; i < 4; ++i)
    if ((table >> i & 1) != 0) wide |= 3u << 2 * i;
  return static_cast<int>(wide);
}

template <unsigned table>
QUARN_AVX512 inline __m512i combined(__m512i a, __m512i b) {
  return _mm512_ternarylogic_epi64(a, b, b, threeOperandTable(table));
}

template <unsigned table>
QUARN_AVX512 WordSummary combineBlocks(std::uint8_t* dst, const std::uint8_t* a, const std::uint8_t* b,
                                       std::size_t byteCount) {
  const __m512i ones = _mm512_set1_epi64(-1);
  __m512i anySet = _mm512_setzero_si512(), allSet = ones;
  std::size_t i = 0;
  for (; i + vectorBytes <= byteCount; i += vectorBytes) {
    const __m512i result = combined<table>(load(a + i), load(b + i));
    store(dst + i, result);
    anySet = _mm512_or_si512(anySet, result);
    allSet = _mm512_and_si512(allSet, result);
  }
  WordSummary seen{_mm512_test_epi64_mask(anySet, anySet) != 0, _mm512_cmpneq_epi64_mask(allSet, ones) != 0};
  if (i < byteCount) {
    const WordSummary rest = scalarKernels.combineBlocks[table](dst + i, a + i, b + i, byteCount - i);
    seen = {seen.anySet || rest.anySet, seen.anyClear || rest.anyClear};
  }
  return seen;
}

QUARN_AVX512 std::uint64_t countWords(const std::uint8_t* words, std::size_t count) {
  __m512i even = _mm512_setzero_si512(), odd = even;
  std::size_t i = 0;
  for (; i + 2 * vectorWords <= count; i += 2 * vectorWords) {
    even = _mm512_add_epi64(even, _mm512_popcnt_epi64(load(words + 8 * i)));
    odd = _mm512_add_epi64(odd, _mm512_popcnt_epi64(load(words + 8 * i + vectorBytes)));
  }
  const auto sum = static_cast<std::uint64_t>(_mm512_reduce_add_epi64(_mm512_add_epi64(even, odd)));
  return sum + scalarKernels.countWords(words + 8 * i, count - i);
}

}  // namespace

const KernelTable* avx512Kernels() {
  // The other passes wait for memory as it is, or stop at the first odd word; wider steps gain nothing there.
  static const KernelTable table{InstructionSet::Avx512,
                                 avx2Kernels()->combineWords,
                                 forAllTables([](auto f) -> KernelTable::CombineBlocks { return &combineBlocks<f()>; }),
                                 &countWords,
                                 avx2Kernels()->equalWordsAtFront,
                                 avx2Kernels()->zeroWordsAtBack,
                                 avx2Kernels()->appendRows,
                                 avx2Kernels()->copyColumn};
  return &table;
}

}  // namespace hxvoxora::detail

#else

namespace hxvoxora::detail {

const KernelTable* avx512Kernels() {
  return nullptr;
}

}  // namespace hxvoxora::detail

#endif
