#include "quarn/voxora/morphology/detail/ColumnKernels.h"

namespace hxvoxora::detail {

namespace {

SeenWords gather(Word* column, WordsOfRows rows, std::size_t count, Word inverted) {
  SeenWords seen;
  for (std::size_t i = 0; i < count; ++i) {
    const Word word = loadWord(rows.first + i * rows.stride) ^ inverted;
    column[i] = word;
    seen.add({word, word});
  }
  return seen;
}

SeenWords gatherEnds(Word* column, WordsOfRows before, WordsOfRows behind, std::size_t count, Word inverted) {
  SeenWords seen;
  for (std::size_t i = 0; i < count; ++i) {
    const Word first = loadWord(behind.first + i * behind.stride), last = loadWord(before.first + i * before.stride);
    const Word word = ((first & upperHalf) | (last & ~upperHalf)) ^ inverted;
    column[i] = word;
    seen.add({word, word});
  }
  return seen;
}

void spread(Word* out, const SpreadSources& sources, std::size_t count, unsigned distance) {
  const Word* const here = sources.here;
  for (std::size_t i = 0; i < count; ++i) {
    const Word alongX = here[i] >> distance | sources.before[i] << (64 - distance) | here[i] << distance |
                        sources.behind[i] >> (64 - distance);
    const Word alongY = *(here + i - distance) | here[i + distance];
    out[i] = here[i] | alongX | alongY | sources.below[i] | sources.above[i];
  }
}

SeenWords scatter(std::uint8_t* rows, std::size_t stride, const Word* column, std::size_t count, Word inverted,
                  Word inside) {
  SeenWords seen;
  for (std::size_t i = 0; i < count; ++i) {
    const Word word = column[i] ^ inverted;
    seen.add({word, word});
    storeWord(rows + i * stride, word & inside);
  }
  return seen;
}

}  // namespace

constinit const ColumnKernels scalarColumns{&gather, &gatherEnds, &spread, &scatter};

const ColumnKernels& columnKernels() {
  const ColumnKernels* best = instructionSet() == InstructionSet::Scalar ? nullptr : avx2Columns();
  return best ? *best : scalarColumns;
}

}  // namespace hxvoxora::detail
