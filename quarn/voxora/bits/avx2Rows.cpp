#include "quarn/voxora/bits/detail/KernelTable.h"

#if defined(__x86_64__)

#include <array>

#include "quarn/voxora/bits/detail/avx2Words.h"

/// Rows four at a time, one in each word of a vector.
namespace hxvoxora::detail {

namespace {

constexpr int rowsAtOnce = 4;
using FourPlaces = std::array<std::uint8_t*, rowsAtOnce>;

/// The words of a column in four rows.
QUARN_AVX2 inline __m256i loadColumn(const UnitColumn& column, std::size_t offset, std::size_t rowStride) {
  const std::uint8_t* const p = column.bytes + (offset & column.mask);
  if (rowStride == 8) return orderedWords(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p)));
  const std::size_t step = rowStride & column.mask;
  const auto word = [p, step](std::size_t row) { return static_cast<long long>(loadNative<Word>(p + row * step)); };
  return orderedWords(_mm256_setr_epi64x(word(0), word(1), word(2), word(3)));
}

QUARN_AVX2 inline void storeColumn(const FourPlaces& rows, std::size_t byte, __m256i words) {
  const __m256i bytes = orderedWords(words);
  const __m128i low = _mm256_castsi256_si128(bytes), high = _mm256_extracti128_si256(bytes, 1);
  storeNative(rows[0] + byte, _mm_cvtsi128_si64(low));
  storeNative(rows[1] + byte, _mm_extract_epi64(low, 1));
  storeNative(rows[2] + byte, _mm_cvtsi128_si64(high));
  storeNative(rows[3] + byte, _mm_extract_epi64(high, 1));
}

/// Appends rows of 64 bits or more. The last word that is stored of a row may hold first bits of the next row, which
/// are stored as 0 and put right with the first word of that row.
class RowAppender {
public:
  QUARN_AVX2 RowAppender(const BitWriter& target, const CutRows& rows)
      : columns_(rows.columns.data()),
        columnCount_(rows.columns.size()),
        rowStride_(rows.rowStride),
        width_(static_cast<std::uint64_t>(rows.width)),
        lastWord_((width_ - 1) / 64),
        inLast_((width_ - 1) % 64 + 1),
        skip_(_mm_cvtsi32_si128(static_cast<int>(rows.skipped))),
        unskip_(_mm_cvtsi32_si128(static_cast<int>(64 - rows.skipped))),
        place_(target.place()),
        bit_(target.held()),
        pending_(target.pending()) {}

  /// `isEnd` tells that no row follows.
  QUARN_AVX2 void appendFour(std::size_t offset, bool isEnd) {
    const Shifts shifts = nextShifts();
    FourPlaces places = nextPlaces();
    __m256i column = loadColumn(columns_[0], offset, rowStride_);
    __m256i next = columnCount_ > 1 ? loadColumn(columns_[1], offset, rowStride_) : _mm256_setzero_si256();
    __m256i word = wordOf(column, next);
    if (lastWord_ == 0) word = _mm256_and_si256(word, allWords(topBits(static_cast<unsigned>(inLast_))));
    const __m256i first = _mm256_srlv_epi64(word, shifts.down);
    __m256i out = first;
    for (std::size_t i = 1; i < lastWord_; ++i) {
      const __m256i before = word;
      column = next;
      next = loadColumn(columns_[i + 1], offset, rowStride_);
      word = wordOf(column, next);
      storeColumn(places, 8 * i, joined(before, word, shifts));
    }
    if (lastWord_ != 0) {
      const __m256i before = word;
      const bool hasNext = lastWord_ + 1 < columnCount_;
      column = next;
      next = hasNext ? loadColumn(columns_[lastWord_ + 1], offset, rowStride_) : _mm256_setzero_si256();
      word = _mm256_and_si256(wordOf(column, next), allWords(topBits(static_cast<unsigned>(inLast_))));
      out = joined(before, word, shifts);
      if (isEnd) keepOffEnd(places);
      storeColumn(places, 8 * lastWord_, out);
    }
    const __m256i isLastFull = _mm256_cmpgt_epi64(_mm256_add_epi64(shifts.down, allWords(inLast_)), allWords(63));
    const __m256i rest = _mm256_blendv_epi8(out, _mm256_sllv_epi64(word, shifts.up), isLastFull);
    places = nextPlaces();
    storeColumn(places, 0, _mm256_or_si256(first, carry(rest)));
    bit_ += 4 * width_;
  }

  BitWriter end() const { return {place_ + 8 * (bit_ / 64), pending_, static_cast<unsigned>(bit_ % 64)}; }

private:
  /// How far the words of a row lie behind those of the target, and what is missing to 64.
  struct Shifts {
    __m256i down, up;
  };

  QUARN_AVX2 Shifts nextShifts() const {
    const auto bit = static_cast<long long>(bit_), width = static_cast<long long>(width_);
    const __m256i bits = _mm256_setr_epi64x(bit, bit + width, bit + 2 * width, bit + 3 * width);
    const __m256i down = _mm256_and_si256(bits, allWords(63));
    return {down, _mm256_sub_epi64(allWords(64), down)};
  }

  /// Where the first words of the next rows are stored.
  FourPlaces nextPlaces() const {
    const auto at = [this](std::uint64_t row) { return place_ + 8 * ((bit_ + row * width_) / 64); };
    return {at(0), at(1), at(2), at(3)};
  }

  /// A last word that is not full would reach over the end: it goes nowhere, since its bits are kept anyway.
  void keepOffEnd(FourPlaces& places) {
    if ((bit_ + 3 * width_) % 64 + inLast_ < 64) places[3] = nowhere_ - 8 * lastWord_;
  }

  /// The word of a row that begins in one column and ends in the next.
  QUARN_AVX2 __m256i wordOf(__m256i column, __m256i next) const {
    return _mm256_or_si256(_mm256_sll_epi64(column, skip_), _mm256_srl_epi64(next, unskip_));
  }

  /// The word of the target that ends one word of a row and begins another.
  QUARN_AVX2 static __m256i joined(__m256i before, __m256i word, const Shifts& shifts) {
    return _mm256_or_si256(_mm256_sllv_epi64(before, shifts.up), _mm256_srlv_epi64(word, shifts.down));
  }

  /// What is left of every row goes to the row behind it.
  QUARN_AVX2 __m256i carry(__m256i rest) {
    const __m256i moved = _mm256_permute4x64_epi64(rest, _MM_SHUFFLE(2, 1, 0, 3));
    const __m256i carried = _mm256_blend_epi32(moved, allWords(pending_), 0b00000011);
    pending_ = static_cast<Word>(_mm256_extract_epi64(moved, 0));
    return carried;
  }

  const UnitColumn* const columns_;
  const std::size_t columnCount_, rowStride_;
  const std::uint64_t width_, lastWord_, inLast_;  // of a row: bits, whole words before the last one, bits in that one
  const __m128i skip_, unskip_;
  std::uint8_t* const place_;
  std::uint64_t bit_;  // from there to the next bit to be appended
  Word pending_;
  std::uint8_t nowhere_[8];
};

}  // namespace

QUARN_AVX2 void appendRowsAvx2(BitWriter& target, const CutRows& rows, std::size_t offset, std::int64_t rowCount) {
  if (rows.width >= 64 && (static_cast<std::uint64_t>(rows.width) | target.held()) % 8 == 0) {
    target.finish();
    appendByteRowsAvx2(target.place(), rows, offset, rowCount);
    target = BitWriter(target.place() + rows.width / 8 * rowCount, 0, 0);
    return;
  }
  if (rows.width >= 64 && rowCount >= rowsAtOnce) {
    RowAppender out(target, rows);
    for (; rowCount >= rowsAtOnce; rowCount -= rowsAtOnce, offset += rowsAtOnce * rows.rowStride)
      out.appendFour(offset, rowCount == rowsAtOnce);
    target = out.end();
  }
  if (rowCount != 0) appendRows<Word>(target, rows, offset, rowCount);
}

namespace {

/// Four words that begin at any bits, as numbers.
class AnyWords {
public:
  QUARN_AVX2 explicit AnyWords(const WordColumn& column)
      : src_(column.src), bit_(column.srcBit), stride_(column.srcStride) {
    const auto stride = static_cast<long long>(stride_);
    bits_ = _mm256_add_epi64(allWords(bit_), _mm256_setr_epi64x(0, stride, 2 * stride, 3 * stride));
  }

  QUARN_AVX2 __m256i next() {
    const std::uint8_t *const a = src_ + bit_ / 8, *const b = src_ + (bit_ + stride_) / 8,
                              *const c = src_ + (bit_ + 2 * stride_) / 8, *const d = src_ + (bit_ + 3 * stride_) / 8;
    const __m256i shift = _mm256_and_si256(bits_, allWords(7));
    const __m256i front = orderedWords(load(a, b, c, d)), back = orderedWords(load(a + 1, b + 1, c + 1, d + 1));
    bit_ += rowsAtOnce * stride_;
    bits_ = _mm256_add_epi64(bits_, allWords(rowsAtOnce * stride_));
    // The second loads begin a byte later, so that what they share with the first falls on the same places.
    return _mm256_or_si256(_mm256_sllv_epi64(front, shift),
                           _mm256_srlv_epi64(back, _mm256_sub_epi64(allWords(8), shift)));
  }

private:
  QUARN_AVX2 static __m256i load(const std::uint8_t* a, const std::uint8_t* b, const std::uint8_t* c,
                                 const std::uint8_t* d) {
    return _mm256_inserti128_si256(_mm256_castsi128_si256(loadTwo(a, b)), loadTwo(c, d), 1);
  }
  QUARN_AVX2 static __m128i loadTwo(const std::uint8_t* a, const std::uint8_t* b) {
    const __m128i low = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(a));
    return _mm_insert_epi64(low, loadNative<long long>(b), 1);
  }

  const std::uint8_t* const src_;
  std::uint64_t bit_;
  const std::uint64_t stride_;
  __m256i bits_;
};

/// The same where they begin on bytes.
class ByteWords {
public:
  explicit ByteWords(const WordColumn& column) : next_(column.src + column.srcBit / 8), stride_(column.srcStride / 8) {}

  QUARN_AVX2 __m256i next() {
    const auto word = [this](std::size_t row) {
      return static_cast<long long>(loadNative<Word>(next_ + row * stride_));
    };
    const __m256i words = _mm256_setr_epi64x(word(0), word(1), word(2), word(3));
    next_ += rowsAtOnce * stride_;
    return orderedWords(words);
  }

private:
  const std::uint8_t* next_;
  const std::size_t stride_;
};

QUARN_AVX2 inline Word orOfAll(__m256i words) {
  const __m128i halves = _mm_or_si128(_mm256_castsi256_si128(words), _mm256_extracti128_si256(words, 1));
  return static_cast<Word>(_mm_cvtsi128_si64(halves) | _mm_extract_epi64(halves, 1));
}

/// Copies four rows at a time to words that follow each other, and returns how many rows that were.
template <typename Words>
QUARN_AVX2 std::uint64_t copyFours(const WordColumn& column, std::uint64_t count, SeenBits& seen) {
  const Word mask = column.mask();
  const __m256i masks = allWords(mask), others = orderedWords(allWords(~mask));
  const __m128i lead = _mm_cvtsi32_si128(static_cast<int>(column.lead));
  __m256i anySet = _mm256_setzero_si256(), anyClear = anySet;
  Words source(column);
  std::uint64_t done = 0;
  for (; done + rowsAtOnce <= count; done += rowsAtOnce) {
    auto* const place = reinterpret_cast<__m256i*>(column.dst + 8 * done);
    const __m256i words = _mm256_srl_epi64(source.next(), lead), ours = _mm256_and_si256(words, masks);
    __m256i bytes = orderedWords(ours);
    if (mask != ~Word{0}) bytes = _mm256_or_si256(bytes, _mm256_and_si256(_mm256_loadu_si256(place), others));
    _mm256_storeu_si256(place, bytes);
    anySet = _mm256_or_si256(anySet, ours);
    anyClear = _mm256_or_si256(anyClear, _mm256_andnot_si256(words, masks));
  }
  seen.anySet |= orOfAll(anySet);
  seen.allSet &= ~orOfAll(anyClear);
  return done;
}

}  // namespace

QUARN_AVX2 void copyColumnAvx2(WordColumn column, std::uint64_t count, SeenBits& seen) {
  if (column.dstStride == 8) {
    const bool onBytes = (column.srcBit | column.srcStride) % 8 == 0;
    const std::uint64_t done =
        onBytes ? copyFours<ByteWords>(column, count, seen) : copyFours<AnyWords>(column, count, seen);
    column.skipRows(done);
    count -= done;
  }
  copyColumn(column, count, seen);
}

}  // namespace hxvoxora::detail

#endif
