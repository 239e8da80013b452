#include "quarn/voxora/bits/detail/KernelTable.h"

#if defined(__x86_64__)

#include <immintrin.h>

#include "quarn/voxora/bits/detail/Operations.h"

/// The attribute stands at every function instead of on the whole file: nothing inline from a header may be compiled
/// for this processor, since the linker could take that copy for all.
#define QUARN_AVX2 __attribute__((target("avx2")))

namespace hxvoxora::detail {

namespace {

constexpr std::size_t vectorBytes = 32, vectorWords = vectorBytes / 8;

QUARN_AVX2 inline __m256i load(const std::uint8_t* p) {
  return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
}

QUARN_AVX2 inline void store(std::uint8_t* p, __m256i bits) {
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), bits);
}

QUARN_AVX2 inline __m256i ones() {
  return _mm256_set1_epi64x(-1);
}

/// The function of a truth table; those that set what is clear in both operands are inverted others.
template <unsigned table>
QUARN_AVX2 inline __m256i combined(__m256i a, __m256i b) {
  if constexpr ((table & 1) != 0) {
    return _mm256_xor_si256(combined<15 - table>(a, b), ones());
  } else {
    switch (table) {
      case 0b0010:
        return _mm256_andnot_si256(a, b);
      case 0b0100:
        return _mm256_andnot_si256(b, a);
      case 0b0110:
        return _mm256_xor_si256(a, b);
      case 0b1000:
        return _mm256_and_si256(a, b);
      case 0b1010:
        return b;
      case 0b1100:
        return a;
      case 0b1110:
        return _mm256_or_si256(a, b);
      default:
        return _mm256_setzero_si256();
    }
  }
}

/// A source whose bits begin on bytes.
struct AlignedSource {
  QUARN_AVX2 __m256i at(std::size_t byte) const { return load(p + byte); }
  const std::uint8_t* p;
};

/// Moves the bits of a source to byte boundaries.
class ShiftedSource {
public:
  QUARN_AVX2 explicit ShiftedSource(const SourceWords& words)
      : p_(words.firstByte()),
        left_(_mm_cvtsi32_si128(static_cast<int>(words.shift()))),
        right_(_mm_cvtsi32_si128(static_cast<int>(8 - words.shift()))),
        fromFirst_(_mm256_set1_epi8(static_cast<char>(0xffu << words.shift()))) {}

  QUARN_AVX2 __m256i at(std::size_t byte) const {
    const std::uint8_t* const p = p_ + byte;
    const __m256i first = _mm256_sll_epi64(load(p), left_), second = _mm256_srl_epi64(load(p + 1), right_);
    return _mm256_or_si256(_mm256_and_si256(fromFirst_, first), _mm256_andnot_si256(fromFirst_, second));
  }

private:
  const std::uint8_t* p_;
  __m128i left_, right_;
  __m256i fromFirst_;
};

/// Stands where a function ignores its source.
struct NoSource {
  QUARN_AVX2 __m256i at(std::size_t) const { return ones(); }
};

template <unsigned table, typename Source>
QUARN_AVX2 inline __m256i combinedAt(const std::uint8_t* dst, const Source& src, std::size_t byte) {
  return combined<table>(load(dst + byte), src.at(byte));
}

/// At least vectorWords words. The two vectors at the ends are worked out first and stored last; between them, and over
/// parts of them, stores are aligned.
template <unsigned table, typename Source>
QUARN_AVX2 inline void combineLong(std::uint8_t* dst, const Source& src, std::size_t count) {
  const std::size_t last = 8 * count - vectorBytes;
  const __m256i atFront = combinedAt<table>(dst, src, 0), atBack = combinedAt<table>(dst, src, last);
  for (std::size_t i = vectorBytes - reinterpret_cast<std::uintptr_t>(dst) % vectorBytes; i < last; i += vectorBytes)
    store(dst + i, combinedAt<table>(dst, src, i));
  store(dst, atFront);
  store(dst + last, atBack);
}

template <unsigned table>
QUARN_AVX2 void combineWords(std::uint8_t* dst, SourceWords src, std::size_t count) {
  if (count < vectorWords) return scalarKernels.combineWords[table](dst, src, count);
  if constexpr (!Operation<table>::usesB) {
    combineLong<table>(dst, NoSource(), count);
  } else if (src.isByteAligned()) {
    combineLong<table>(dst, AlignedSource{src.firstByte()}, count);
  } else {
    combineLong<table>(dst, ShiftedSource(src), count);
  }
}

template <unsigned table>
QUARN_AVX2 WordSummary combineBlocks(std::uint8_t* dst, const std::uint8_t* a, const std::uint8_t* b,
                                     std::size_t byteCount) {
  __m256i anySet = _mm256_setzero_si256(), allSet = ones();
  for (std::size_t i = 0; i < byteCount; i += vectorBytes) {
    const __m256i result = combined<table>(load(a + i), load(b + i));
    store(dst + i, result);
    anySet = _mm256_or_si256(anySet, result);
    allSet = _mm256_and_si256(allSet, result);
  }
  return {_mm256_testz_si256(anySet, anySet) == 0, _mm256_testc_si256(allSet, ones()) == 0};
}

/// The set bits of every byte.
QUARN_AVX2 inline __m256i countInBytes(__m256i bits) {
  const __m256i counts =
      _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 1, 1, 2, 1, 2, 2, 3, 1, 2, 2, 3, 2, 3, 3, 4));  // of four bits
  const __m256i low = _mm256_set1_epi8(0x0f);
  return _mm256_add_epi8(_mm256_shuffle_epi8(counts, _mm256_and_si256(bits, low)),
                         _mm256_shuffle_epi8(counts, _mm256_and_si256(_mm256_srli_epi64(bits, 4), low)));
}

QUARN_AVX2 std::uint64_t countWords(const std::uint8_t* words, std::size_t count) {
  constexpr std::size_t batch = 16;  // vectors whose counts fit the bytes of their sum
  __m256i sums = _mm256_setzero_si256();
  std::size_t i = 0;
  for (; i + batch * vectorWords <= count; i += batch * vectorWords) {
    __m256i inBytes = _mm256_setzero_si256();
    for (std::size_t k = 0; k < batch; ++k)
      inBytes = _mm256_add_epi8(inBytes, countInBytes(load(words + 8 * i + vectorBytes * k)));
    sums = _mm256_add_epi64(sums, _mm256_sad_epu8(inBytes, _mm256_setzero_si256()));
  }
  const __m128i halves = _mm_add_epi64(_mm256_castsi256_si128(sums), _mm256_extracti128_si256(sums, 1));
  const auto sum = static_cast<std::uint64_t>(_mm_cvtsi128_si64(halves) + _mm_extract_epi64(halves, 1));
  return sum + scalarKernels.countWords(words + 8 * i, count - i);
}

QUARN_AVX2 std::size_t equalWordsAtFront(const std::uint8_t* words, std::size_t count, Word ground) {
  const __m256i grounds = _mm256_set1_epi64x(static_cast<long long>(ground));
  std::size_t i = 0;
  for (; i + 4 * vectorWords <= count; i += 4 * vectorWords) {
    const std::uint8_t* p = words + 8 * i;
    const __m256i front = _mm256_or_si256(_mm256_xor_si256(load(p), grounds), _mm256_xor_si256(load(p + 32), grounds));
    const __m256i back =
        _mm256_or_si256(_mm256_xor_si256(load(p + 64), grounds), _mm256_xor_si256(load(p + 96), grounds));
    const __m256i unlike = _mm256_or_si256(front, back);
    if (!_mm256_testz_si256(unlike, unlike)) break;
  }
  return i + scalarKernels.equalWordsAtFront(words + 8 * i, count - i, ground);
}

QUARN_AVX2 std::size_t zeroWordsAtBack(const std::uint8_t* words, std::size_t count) {
  std::size_t left = count;
  for (; left >= 4 * vectorWords; left -= 4 * vectorWords) {
    const std::uint8_t* p = words + 8 * (left - 4 * vectorWords);
    const __m256i any =
        _mm256_or_si256(_mm256_or_si256(load(p), load(p + 32)), _mm256_or_si256(load(p + 64), load(p + 96)));
    if (!_mm256_testz_si256(any, any)) break;
  }
  return count - left + scalarKernels.zeroWordsAtBack(words, left);
}

}  // namespace

const KernelTable* avx2Kernels() {
  static const KernelTable table{InstructionSet::Avx2,
                                 forAllTables([](auto f) -> KernelTable::CombineWords { return &combineWords<f()>; }),
                                 forAllTables([](auto f) -> KernelTable::CombineBlocks { return &combineBlocks<f()>; }),
                                 &countWords,
                                 &equalWordsAtFront,
                                 &zeroWordsAtBack,
                                 &appendRowsAvx2,
                                 &copyColumnAvx2};
  return &table;
}

}  // namespace hxvoxora::detail

#else

namespace hxvoxora::detail {

const KernelTable* avx2Kernels() {
  return nullptr;
}

}  // namespace hxvoxora::detail

#endif
