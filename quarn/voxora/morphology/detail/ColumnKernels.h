#pragma once

#include <cstddef>
#include <cstdint>

#include "quarn/voxora/bits/InstructionSet.h"
#include "quarn/voxora/bits/detail/Stretch.h"

/// Slices of tiles as columns: the words of the rows that stand side by side along y, one below the other, so that
/// whole vectors of rows are worked on at once.
namespace hxvoxora::detail {

/// One word of each of some rows that stand in memory at equal distances; with a stride of 0 all rows are the same.
/// Neither the first nor the stride need be aligned.
struct WordsOfRows {
  const std::uint8_t* first = nullptr;
  std::size_t stride = 0;

  WordsOfRows from(std::size_t row) const { return {first + row * stride, stride}; }
};

/// What a pass has seen in the words it made: every bit that was set in one of them, and those set in all.
struct SeenWords {
  Word any = 0;
  Word all = ~Word{0};

  void add(const SeenWords& other) {
    any |= other.any;
    all &= other.all;
  }
};

/// Where the set bits of a column spread from: the column itself in three slices, and the columns beside it, of which
/// the words before hold lower x.
struct SpreadSources {
  const Word* here;
  const Word* before;
  const Word* behind;
  const Word* below;
  const Word* above;
};

/// The passes over columns, in the form of one instruction set.
struct ColumnKernels {
  /// Forms that work on several words at once may write up to so many words beyond the end of a column, and read as
  /// many, where it is said so; a column has room for them.
  static constexpr std::size_t slack = 8;

  /// column[i] = the word of row i, inverted where `inverted` has bits.
  SeenWords (*gather)(Word* column, WordsOfRows rows, std::size_t count, Word inverted);

  /// The words at both ends of rows: the first half of what stands behind them above the last half of what stands
  /// before them.
  SeenWords (*gatherEnds)(Word* column, WordsOfRows before, WordsOfRows behind, std::size_t count, Word inverted);

  /// out[i] = all bits of here[i] and those that lie `distance` away from them along an axis, 0 < distance < 64. Reads
  /// here[-distance] to here[count - 1 + distance], and uses the slack behind all arrays.
  void (*spread)(Word* out, const SpreadSources& sources, std::size_t count, unsigned distance);

  /// The bits of `column`, inverted where `inverted` has bits, become the words of rows; those outside `inside` become
  /// 0. What is seen are the words before bits outside are cleared.
  SeenWords (*scatter)(std::uint8_t* rows, std::size_t stride, const Word* column, std::size_t count, Word inverted,
                       Word inside);
};

extern const ColumnKernels scalarColumns;

/// Null where the build knows no such instructions.
const ColumnKernels* avx2Columns();

/// The kernels of the instruction set in use.
const ColumnKernels& columnKernels();

/// The half of a word that holds the lower x.
constexpr Word upperHalf = ~Word{0} << 32;

}  // namespace hxvoxora::detail
