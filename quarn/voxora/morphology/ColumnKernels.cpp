#include "quarn/voxora/morphology/detail/ColumnKernels.h"

namespace hxvoxora::detail {

namespace {

/// Sums up what is seen.
struct SeenWords {
  void add(Word word, Word inside = ~Word{0}) {
    any |= word & inside;
    all &= word | ~inside;
  }
  WordSummary summary() const { return {any != 0, all != ~Word{0}}; }

  Word any = 0, all = ~Word{0};
};

/// column[i] = word(i, rows) for the rows of all three parts of a column.
template <typename WordOf>
WordSummary fill(Word* column, std::size_t halo, std::size_t count, WordOf wordOf) {
  SeenWords seen;
  const auto fillPart = [&](auto part, std::size_t rows) {
    for (std::size_t i = 0; i < rows; ++i) {
      const Word word = wordOf(part, i);
      *column++ = word;
      seen.add(word);
    }
  };
  fillPart(&RowsOfColumn::before, halo);
  fillPart(&RowsOfColumn::here, count);
  fillPart(&RowsOfColumn::behind, halo);
  return seen.summary();
}

WordSummary gather(Word* column, const RowsOfColumn& rows, std::size_t halo, std::size_t count, Word inverted) {
  return fill(column, halo, count, [&](auto part, std::size_t i) { return (rows.*part).word(i) ^ inverted; });
}

WordSummary gatherEnds(Word* column, const RowsOfColumn& before, const RowsOfColumn& behind, std::size_t halo,
                       std::size_t count, Word inverted) {
  return fill(column, halo, count, [&](auto part, std::size_t i) {
    return (((behind.*part).word(i) & upperHalf) | ((before.*part).word(i) & ~upperHalf)) ^ inverted;
  });
}

Word spreadWord(const SpreadSources& sources, std::size_t i, unsigned distance) {
  const Word* const here = sources.here + i;
  const Word alongX = *here >> distance | sources.before[i] << (64 - distance) | *here << distance |
                      sources.behind[i] >> (64 - distance);
  const Word alongY = *(here - distance) | *(here + distance);
  return *here | alongX | alongY | sources.below[i] | sources.above[i];
}

bool spread(Word* out, const SpreadSources& sources, std::size_t count, unsigned distance) {
  Word all = ~Word{0};
  for (std::size_t i = 0; i < count; ++i) all &= out[i] = spreadWord(sources, i, distance);
  return all == ~Word{0};
}

void writeWord(const RowsToWrite& rows, std::size_t i, Word word, SeenWords& seen) {
  seen.add(word ^ rows.inverted, rows.inside);
  storeWord(rows.first + i * rows.stride, (word ^ rows.inverted) & rows.inside);
}

WordSummary spreadInto(const RowsToWrite& rows, const SpreadSources& sources, std::size_t count, unsigned distance) {
  SeenWords seen;
  for (std::size_t i = 0; i < count; ++i) writeWord(rows, i, spreadWord(sources, i, distance), seen);
  return seen.summary();
}

WordSummary write(const RowsToWrite& rows, const Word* column, std::size_t count) {
  SeenWords seen;
  for (std::size_t i = 0; i < count; ++i) writeWord(rows, i, column[i], seen);
  return seen.summary();
}

}  // namespace

constinit const ColumnKernels scalarColumns{&gather, &gatherEnds, &spread, &spreadInto, &write};

const ColumnKernels& columnKernels() {
  const ColumnKernels* best = instructionSet() == InstructionSet::Scalar ? nullptr : avx2Columns();
  return best ? *best : scalarColumns;
}

}  // namespace hxvoxora::detail
