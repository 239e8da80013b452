#include "quarn/voxora/bits/detail/KernelTable.h"

#if defined(__x86_64__)

#include <algorithm>
#include <array>
#include <cstring>

#include "quarn/voxora/bits/detail/avx2Words.h"

/// Rows of whole bytes, put together from words of columns side by side, four words at a time.
namespace hxvoxora::detail {

namespace {

constexpr std::size_t vectorBytes = 32;
constexpr std::size_t wordsAtOnce = 4;

/// A column behind the last one.
constexpr std::array<std::uint8_t, UnitColumn::sameBytes> nothing{};
constexpr UnitColumn noColumn{nothing.data(), 0};

/// The words of one row in one column after the other.
class ColumnWords {
public:
  ColumnWords(const CutRows& rows, std::size_t column, std::size_t offset) {
    const UnitColumn& from = column < rows.columns.size() ? rows.columns[column] : noColumn;
    next_ = from.bytes + (offset & from.mask);
    stride_ = rows.rowStride & from.mask;
  }

  long long next() {
    const auto word = loadNative<long long>(next_);
    next_ += stride_;
    return word;
  }

private:
  const std::uint8_t* next_;
  std::size_t stride_;
};

/// Up to 32 bytes of every row. What is stored behind them is overwritten by what is stored later, but for the last
/// rows, which are stored exactly.
template <bool areShifted>
class VectorColumn {
public:
  QUARN_AVX2 VectorColumn(const CutRows& rows, std::size_t first, std::size_t offset)
      : words_{{{rows, first, offset},
                {rows, first + 1, offset},
                {rows, first + 2, offset},
                {rows, first + 3, offset},
                {rows, first + 4, offset}}},
        skip_(_mm_cvtsi32_si128(static_cast<int>(rows.skipped))),
        unskip_(_mm_cvtsi32_si128(static_cast<int>(64 - rows.skipped))) {}

  QUARN_AVX2 __m256i next() {
    const long long a = words_[0].next(), b = words_[1].next(), c = words_[2].next(), d = words_[3].next();
    const __m256i words = _mm256_setr_epi64x(a, b, c, d);
    if constexpr (!areShifted) return words;
    const __m256i behind = _mm256_setr_epi64x(b, c, d, words_[4].next());
    return orderedWords(
        _mm256_or_si256(_mm256_sll_epi64(orderedWords(words), skip_), _mm256_srl_epi64(orderedWords(behind), unskip_)));
  }

private:
  std::array<ColumnWords, wordsAtOnce + 1> words_;
  const __m128i skip_, unskip_;
};

template <bool areShifted>
QUARN_AVX2 void appendVectors(std::uint8_t* target, const CutRows& rows, std::size_t first, std::size_t offset,
                              std::int64_t rowCount) {
  const auto rowBytes = static_cast<std::size_t>(rows.width / 8);
  const std::size_t count = std::min(vectorBytes, rowBytes - 8 * first);
  const std::uint8_t* const end = target + static_cast<std::size_t>(rowCount) * rowBytes;
  VectorColumn<areShifted> source(rows, first, offset);
  std::uint8_t* place = target + 8 * first;
  for (; rowCount > 0 && place + vectorBytes <= end; --rowCount, place += rowBytes)
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(place), source.next());
  for (; rowCount > 0; --rowCount, place += rowBytes) {
    alignas(vectorBytes) std::array<std::uint8_t, vectorBytes> bytes;
    _mm256_store_si256(reinterpret_cast<__m256i*>(bytes.data()), source.next());
    std::memcpy(place, bytes.data(), count);
  }
}

}  // namespace

void appendByteRowsAvx2(std::uint8_t* target, const CutRows& rows, std::size_t offset, std::int64_t rowCount) {
  const auto append = rows.skipped == 0 ? &appendVectors<false> : &appendVectors<true>;
  const std::size_t vectors = (static_cast<std::size_t>(rows.width) + 8 * vectorBytes - 1) / (8 * vectorBytes);
  // The last first, since it reaches into the next row.
  for (std::size_t i = vectors; i-- > 0;) append(target, rows, wordsAtOnce * i, offset, rowCount);
}

}  // namespace hxvoxora::detail

#endif
