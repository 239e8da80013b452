#pragma once

#include <cstddef>
#include <cstdint>

#include "quarn/voxora/bits/BitKernels.h"
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

  Word word(std::size_t row) const { return loadWord(first + row * stride); }
};

/// The rows of a column: those of the tile, and so many of the tiles before and behind it along y.
struct RowsOfColumn {
  WordsOfRows before, here, behind;
};

/// Where the set bits of a column spread from: the column itself in three slices, and the columns beside it, of which
/// the words before hold lower x. All arrays begin with the same row.
struct SpreadSources {
  const Word* here;
  const Word* before;
  const Word* behind;
  const Word* below;
  const Word* above;
};

/// Where a column goes: its words become those of rows, inverted where `inverted` has bits, and clear outside `inside`.
struct RowsToWrite {
  std::uint8_t* first;
  std::size_t stride;
  Word inverted;
  Word inside;
};

/// The passes over columns, in the form of one instruction set. What they have seen is told of the words that they
/// made.
struct ColumnKernels {
  /// Forms that work on several words at once may read and write up to so many words beyond the end of a column that is
  /// spread; every column has room for them.
  static constexpr std::size_t slack = 8;

  /// Fills a column with the words of rows, inverted where `inverted` has bits: `halo` ones of the tile before, `count`
  /// of the tile at hand, and `halo` of that behind.
  WordSummary (*gather)(Word* column, const RowsOfColumn& rows, std::size_t halo, std::size_t count, Word inverted);

  /// The same with the words at both ends of rows: the first half of what stands behind them above the last half of
  /// what stands before them.
  WordSummary (*gatherEnds)(Word* column, const RowsOfColumn& before, const RowsOfColumn& behind, std::size_t halo,
                            std::size_t count, Word inverted);

  /// out[i] = all bits of here[i] and those that lie `distance` away from them along an axis, 0 < distance < 64. Reads
  /// here[-distance] to here[count - 1 + distance], and uses the slack behind all arrays. The result tells whether all
  /// bits of out are set.
  bool (*spread)(Word* out, const SpreadSources& sources, std::size_t count, unsigned distance);

  /// spread() into rows. What is seen are the bits inside, as they are written.
  WordSummary (*spreadInto)(const RowsToWrite& rows, const SpreadSources& sources, std::size_t count,
                            unsigned distance);

  /// Writes a column as it is.
  WordSummary (*write)(const RowsToWrite& rows, const Word* column, std::size_t count);
};

extern const ColumnKernels scalarColumns;

/// Null where the build knows no such instructions.
const ColumnKernels* avx2Columns();

/// The kernels of the instruction set in use.
const ColumnKernels& columnKernels();

/// The half of a word that holds the lower x.
constexpr Word upperHalf = ~Word{0} << 32;

inline void add(WordSummary& seen, const WordSummary& other) {
  seen.anySet = seen.anySet || other.anySet;
  seen.anyClear = seen.anyClear || other.anyClear;
}

}  // namespace hxvoxora::detail
