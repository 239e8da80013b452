#pragma once

#include "quarn/voxora/morphology/detail/ColumnKernels.h"

/// Columns of tiles of 32 voxels along x: the upper half of a word is a row, below it stand the first 16 voxels behind
/// and the last 16 before it. Such a word is its own neighbour at both ends.
namespace hxvoxora::detail {

/// One part of a column, of `count` rows.
inline WordSummary gatherNarrow(Word* column, const WordsOfRows& before, const WordsOfRows& here,
                                const WordsOfRows& behind, std::size_t count, Word inverted) {
  constexpr Word first16 = 0xffff0000, last16 = 0x0000ffff;
  const auto row = [](const WordsOfRows& rows, std::size_t i) {
    return Word{loadOrdered<std::uint32_t>(rows.first + i * rows.stride)};
  };
  Word any = 0, all = ~Word{0};
  for (std::size_t i = 0; i < count; ++i) {
    column[i] = (row(here, i) << 32 | (row(behind, i) & first16) | (row(before, i) & last16)) ^ inverted;
    any |= column[i];
    all &= column[i];
  }
  return {any != 0, all != ~Word{0}};
}

inline WordSummary writeNarrow(const RowsToWrite& rows, const Word* column, std::size_t count) {
  Word any = 0, all = ~Word{0};
  for (std::size_t i = 0; i < count; ++i) {
    const Word word = column[i] ^ rows.inverted;
    any |= word & rows.inside;
    all &= word | ~rows.inside;
    storeOrdered(rows.first + i * rows.stride, static_cast<std::uint32_t>((word & rows.inside) >> 32));
  }
  return {any != 0, all != ~Word{0}};
}

}  // namespace hxvoxora::detail
