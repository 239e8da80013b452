#include "quarn/voxora/morphology/detail/ColumnKernels.h"

#if defined(__x86_64__)

#include <immintrin.h>

/// The attribute stands at every function instead of on the whole file: nothing inline from a header may be compiled
/// for this processor, since the linker could take that copy for all.
#define QUARN_AVX2 __attribute__((target("avx2")))

namespace hxvoxora::detail {

namespace {

constexpr std::size_t vectorWords = 4;
static_assert(ColumnKernels::slack >= vectorWords - 1);

QUARN_AVX2 inline __m256i load(const Word* p) {
  return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
}

QUARN_AVX2 inline void store(Word* p, __m256i words) {
  _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), words);
}

QUARN_AVX2 inline __m256i allWords(Word word) {
  return _mm256_set1_epi64x(static_cast<long long>(word));
}

/// Words between memory order and numbers.
QUARN_AVX2 inline __m256i orderedWords(__m256i words) {
  const __m256i reversed =
      _mm256_broadcastsi128_si256(_mm_setr_epi8(7, 6, 5, 4, 3, 2, 1, 0, 15, 14, 13, 12, 11, 10, 9, 8));
  return _mm256_shuffle_epi8(words, reversed);
}

/// The words of four rows.
QUARN_AVX2 inline __m256i loadRows(const WordsOfRows& rows, std::size_t row) {
  const std::uint8_t* const p = rows.first + row * rows.stride;
  if (rows.stride == sizeof(Word)) return orderedWords(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)));
  const auto word = [&](std::size_t i) { return static_cast<long long>(loadNative<Word>(p + i * rows.stride)); };
  return orderedWords(_mm256_setr_epi64x(word(0), word(1), word(2), word(3)));
}

/// Sums up what is seen in vectors.
class SeenVectors {
public:
  QUARN_AVX2 SeenVectors() : any_(_mm256_setzero_si256()), all_(_mm256_set1_epi64x(-1)) {}

  QUARN_AVX2 void add(__m256i words) {
    any_ = _mm256_or_si256(any_, words);
    all_ = _mm256_and_si256(all_, words);
  }

  QUARN_AVX2 SeenWords words() const {
    Word any[vectorWords], all[vectorWords];
    store(any, any_);
    store(all, all_);
    return {any[0] | any[1] | any[2] | any[3], all[0] & all[1] & all[2] & all[3]};
  }

private:
  __m256i any_, all_;
};

QUARN_AVX2 SeenWords gather(Word* column, WordsOfRows rows, std::size_t count, Word inverted) {
  SeenVectors seen;
  std::size_t i = 0;
  for (; i + vectorWords <= count; i += vectorWords) {
    const __m256i words = _mm256_xor_si256(loadRows(rows, i), allWords(inverted));
    store(column + i, words);
    seen.add(words);
  }
  SeenWords all = seen.words();
  if (i < count) all.add(scalarColumns.gather(column + i, rows.from(i), count - i, inverted));
  return all;
}

QUARN_AVX2 SeenWords gatherEnds(Word* column, WordsOfRows before, WordsOfRows behind, std::size_t count,
                                Word inverted) {
  SeenVectors seen;
  std::size_t i = 0;
  for (; i + vectorWords <= count; i += vectorWords) {
    // A number's upper half is the odd one of its two parts.
    const __m256i both = _mm256_blend_epi32(loadRows(before, i), loadRows(behind, i), 0b10101010);
    const __m256i words = _mm256_xor_si256(both, allWords(inverted));
    store(column + i, words);
    seen.add(words);
  }
  SeenWords all = seen.words();
  if (i < count) all.add(scalarColumns.gatherEnds(column + i, before.from(i), behind.from(i), count - i, inverted));
  return all;
}

QUARN_AVX2 void spread(Word* out, const SpreadSources& sources, std::size_t count, unsigned distance) {
  const __m128i shift = _mm_cvtsi32_si128(static_cast<int>(distance)),
                rest = _mm_cvtsi32_si128(static_cast<int>(64 - distance));
  const Word *const here = sources.here, *const lower = here - distance, *const upper = here + distance;
  for (std::size_t i = 0; i < count; i += vectorWords) {
    const __m256i words = load(here + i);
    const __m256i higherX =
        _mm256_or_si256(_mm256_srl_epi64(words, shift), _mm256_sll_epi64(load(sources.before + i), rest));
    const __m256i lowerX =
        _mm256_or_si256(_mm256_sll_epi64(words, shift), _mm256_srl_epi64(load(sources.behind + i), rest));
    const __m256i alongX = _mm256_or_si256(words, _mm256_or_si256(higherX, lowerX));
    const __m256i alongY = _mm256_or_si256(load(lower + i), load(upper + i));
    const __m256i alongZ = _mm256_or_si256(load(sources.below + i), load(sources.above + i));
    store(out + i, _mm256_or_si256(alongX, _mm256_or_si256(alongY, alongZ)));
  }
}

QUARN_AVX2 SeenWords scatter(std::uint8_t* rows, std::size_t stride, const Word* column, std::size_t count,
                             Word inverted, Word inside) {
  SeenVectors seen;
  std::size_t i = 0;
  for (; stride == sizeof(Word) && i + vectorWords <= count; i += vectorWords) {
    const __m256i words = _mm256_xor_si256(load(column + i), allWords(inverted));
    seen.add(words);
    const __m256i bytes = orderedWords(_mm256_and_si256(words, allWords(inside)));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(rows + i * stride), bytes);
  }
  SeenWords all = seen.words();
  if (i < count) all.add(scalarColumns.scatter(rows + i * stride, stride, column + i, count - i, inverted, inside));
  return all;
}

}  // namespace

const ColumnKernels* avx2Columns() {
  static constexpr ColumnKernels kernels{&gather, &gatherEnds, &spread, &scatter};
  return &kernels;
}

}  // namespace hxvoxora::detail

#else

namespace hxvoxora::detail {

const ColumnKernels* avx2Columns() {
  return nullptr;
}

}  // namespace hxvoxora::detail

#endif
