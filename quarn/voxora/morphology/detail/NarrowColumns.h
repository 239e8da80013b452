#pragma once

#include "quarn/voxora/morphology/detail/ColumnKernels.h"

/// Columns of tiles of 32 voxels along x: the upper half of a word is a row, below it stand the first 16 voxels behind
/// and the last 16 before it. Such a word is its own neighbour at both ends.
namespace hxvoxora::detail {

inline SeenWords gatherNarrow(Word* column, WordsOfRows before, WordsOfRows here, WordsOfRows behind, std::size_t count,
                              Word inverted) {
  constexpr Word first16 = 0xffff0000, last16 = 0x0000ffff;
  const auto row = [](const WordsOfRows& rows, std::size_t i) {
    return Word{loadOrdered<std::uint32_t>(rows.first + i * rows.stride)};
  };
  SeenWords seen;
  for (std::size_t i = 0; i < count; ++i) {
    const Word word = (row(here, i) << 32 | (row(behind, i) & first16) | (row(before, i) & last16)) ^ inverted;
    column[i] = word;
    seen.add({word, word});
  }
  return seen;
}

inline SeenWords scatterNarrow(std::uint8_t* rows, std::size_t stride, const Word* column, std::size_t count,
                               Word inverted, Word inside) {
  SeenWords seen;
  for (std::size_t i = 0; i < count; ++i) {
    const Word word = column[i] ^ inverted;
    seen.add({word, word});
    storeOrdered(rows + i * stride, static_cast<std::uint32_t>((word & inside) >> 32));
  }
  return seen;
}

}  // namespace hxvoxora::detail
