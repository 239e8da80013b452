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

QUARN_AVX2 inline void storeRows(const RowsToWrite& rows, std::size_t row, __m256i words) {
  std::uint8_t* const p = rows.first + row * rows.stride;
  const __m256i bytes = orderedWords(words);
  if (rows.stride == sizeof(Word)) return _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), bytes);
  const __m128i low = _mm256_castsi256_si128(bytes), high = _mm256_extracti128_si256(bytes, 1);
  storeNative(p, _mm_cvtsi128_si64(low));
  storeNative(p + rows.stride, _mm_extract_epi64(low, 1));
  storeNative(p + 2 * rows.stride, _mm_cvtsi128_si64(high));
  storeNative(p + 3 * rows.stride, _mm_extract_epi64(high, 1));
}

/// Sums up what is seen in vectors.
struct SeenVectors {
  QUARN_AVX2 SeenVectors() : any(_mm256_setzero_si256()), all(_mm256_set1_epi64x(-1)) {}

  QUARN_AVX2 void add(__m256i words) {
    any = _mm256_or_si256(any, words);
    all = _mm256_and_si256(all, words);
  }

  QUARN_AVX2 bool anySet(Word inside = ~Word{0}) const { return _mm256_testz_si256(any, allWords(inside)) == 0; }
  QUARN_AVX2 bool anyClear(Word inside = ~Word{0}) const { return _mm256_testc_si256(all, allWords(inside)) == 0; }

  __m256i any, all;
};

/// Four words of rows at once, and single ones.
struct GatheredRows {
  QUARN_AVX2 __m256i four(WordsOfRows RowsOfColumn::*part, std::size_t i) const { return loadRows(rows.*part, i); }
  Word one(WordsOfRows RowsOfColumn::*part, std::size_t i) const { return (rows.*part).word(i); }

  const RowsOfColumn& rows;
};

/// The same of the ends of rows.
struct GatheredEnds {
  QUARN_AVX2 __m256i four(WordsOfRows RowsOfColumn::*part, std::size_t i) const {
    // A number's upper half is the odd one of its two parts.
    return _mm256_blend_epi32(loadRows(before.*part, i), loadRows(behind.*part, i), 0b10101010);
  }
  Word one(WordsOfRows RowsOfColumn::*part, std::size_t i) const {
    return ((behind.*part).word(i) & upperHalf) | ((before.*part).word(i) & ~upperHalf);
  }

  const RowsOfColumn &before, &behind;
};

template <typename Source>
QUARN_AVX2 inline WordSummary fill(Word* column, const Source& source, std::size_t halo, std::size_t count,
                                   Word inverted) {
  SeenVectors seen;
  Word any = 0, all = ~Word{0};
  const auto fillOne = [&](WordsOfRows RowsOfColumn::*part, std::size_t i, Word& target) {
    target = source.one(part, i) ^ inverted;
    any |= target;
    all &= target;
  };
  for (std::size_t i = 0; i < halo; ++i) fillOne(&RowsOfColumn::before, i, column[i]);
  column += halo;
  // Tiles have a multiple of eight rows.
  for (std::size_t i = 0; i < count; i += vectorWords) {
    const __m256i words = _mm256_xor_si256(source.four(&RowsOfColumn::here, i), allWords(inverted));
    store(column + i, words);
    seen.add(words);
  }
  column += count;
  for (std::size_t i = 0; i < halo; ++i) fillOne(&RowsOfColumn::behind, i, column[i]);
  return {any != 0 || seen.anySet(), all != ~Word{0} || seen.anyClear()};
}

QUARN_AVX2 WordSummary gather(Word* column, const RowsOfColumn& rows, std::size_t halo, std::size_t count,
                              Word inverted) {
  return fill(column, GatheredRows{rows}, halo, count, inverted);
}

QUARN_AVX2 WordSummary gatherEnds(Word* column, const RowsOfColumn& before, const RowsOfColumn& behind,
                                  std::size_t halo, std::size_t count, Word inverted) {
  return fill(column, GatheredEnds{before, behind}, halo, count, inverted);
}

/// Spreads bits, four words at once.
class Spreading {
public:
  QUARN_AVX2 Spreading(const SpreadSources& sources, unsigned distance)
      : sources_(sources),
        lower_(sources.here - distance),
        upper_(sources.here + distance),
        shift_(_mm_cvtsi32_si128(static_cast<int>(distance))),
        rest_(_mm_cvtsi32_si128(static_cast<int>(64 - distance))) {}

  QUARN_AVX2 __m256i four(std::size_t i) const {
    const __m256i words = load(sources_.here + i);
    const __m256i higherX =
        _mm256_or_si256(_mm256_srl_epi64(words, shift_), _mm256_sll_epi64(load(sources_.before + i), rest_));
    const __m256i lowerX =
        _mm256_or_si256(_mm256_sll_epi64(words, shift_), _mm256_srl_epi64(load(sources_.behind + i), rest_));
    const __m256i alongX = _mm256_or_si256(words, _mm256_or_si256(higherX, lowerX));
    const __m256i alongY = _mm256_or_si256(load(lower_ + i), load(upper_ + i));
    const __m256i alongZ = _mm256_or_si256(load(sources_.below + i), load(sources_.above + i));
    return _mm256_or_si256(alongX, _mm256_or_si256(alongY, alongZ));
  }

private:
  const SpreadSources sources_;
  const Word *const lower_, *const upper_;
  const __m128i shift_, rest_;
};

QUARN_AVX2 bool spread(Word* out, const SpreadSources& sources, std::size_t count, unsigned distance) {
  const Spreading spreading(sources, distance);
  __m256i all = allWords(~Word{0});
  std::size_t i = 0;
  for (; i + vectorWords <= count; i += vectorWords) {
    const __m256i words = spreading.four(i);
    store(out + i, words);
    all = _mm256_and_si256(all, words);
  }
  bool isFull = _mm256_testc_si256(all, allWords(~Word{0})) != 0;
  if (i == count) return isFull;
  store(out + i, spreading.four(i));
  for (; i < count; ++i) isFull = isFull && out[i] == ~Word{0};
  return isFull;
}

/// Writes a column whose words come from four(i), so many as make whole vectors.
template <typename Four>
QUARN_AVX2 inline WordSummary writeFours(const RowsToWrite& rows, std::size_t count, Four four) {
  const __m256i inverted = allWords(rows.inverted), inside = allWords(rows.inside);
  SeenVectors seen;
  for (std::size_t i = 0; i + vectorWords <= count; i += vectorWords) {
    const __m256i words = _mm256_xor_si256(four(i), inverted);
    seen.add(words);
    storeRows(rows, i, _mm256_and_si256(words, inside));
  }
  return {seen.anySet(rows.inside), seen.anyClear(rows.inside)};
}

RowsToWrite rowsFrom(const RowsToWrite& rows, std::size_t row) {
  return {rows.first + row * rows.stride, rows.stride, rows.inverted, rows.inside};
}

SpreadSources sourcesFrom(const SpreadSources& sources, std::size_t row) {
  return {sources.here + row, sources.before + row, sources.behind + row, sources.below + row, sources.above + row};
}

QUARN_AVX2 WordSummary spreadInto(const RowsToWrite& rows, const SpreadSources& sources, std::size_t count,
                                  unsigned distance) {
  const Spreading spreading(sources, distance);
  WordSummary seen = writeFours(rows, count, [&](std::size_t i) QUARN_AVX2 { return spreading.four(i); });
  if (const std::size_t rest = count % vectorWords; rest != 0)
    add(seen,
        scalarColumns.spreadInto(rowsFrom(rows, count - rest), sourcesFrom(sources, count - rest), rest, distance));
  return seen;
}

QUARN_AVX2 WordSummary write(const RowsToWrite& rows, const Word* column, std::size_t count) {
  WordSummary seen = writeFours(rows, count, [&](std::size_t i) QUARN_AVX2 { return load(column + i); });
  if (const std::size_t rest = count % vectorWords; rest != 0)
    add(seen, scalarColumns.write(rowsFrom(rows, count - rest), column + count - rest, rest));
  return seen;
}

}  // namespace

const ColumnKernels* avx2Columns() {
  static constexpr ColumnKernels kernels{&gather, &gatherEnds, &spread, &spreadInto, &write};
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
