#pragma once

#include <bit>

#include "quarn/voxora/bits/detail/Stretch.h"
#include "quarn/voxora/components/Component.h"

/// Runs of set bits of words: the first one is that with the most significant bits.
namespace hxvoxora::detail {

/// The first bit of each run.
constexpr Word startsOfRuns(Word word) {
  return word & ~(word >> 1);
}

/// The number of the run that holds a bit, given as a word with this bit alone.
inline unsigned runAt(Word starts, Word bit) {
  return static_cast<unsigned>(std::popcount(starts & (0 - bit))) - 1;
}

/// The least significant of the set bits.
constexpr Word lowestBit(Word word) {
  return word & (0 - word);
}

/// Calls join(run of a, run of b) for runs of two neighbouring rows that touch, at least once for each pair.
template <Neighbours neighbours, typename Join>
inline void forEachTouch(Word a, Word b, Join join) {
  const Word startsA = startsOfRuns(a), startsB = startsOfRuns(b);
  for (Word common = startsOfRuns(a & b); common != 0; common &= common - 1) {
    const Word bit = lowestBit(common);
    join(runAt(startsA, bit), runAt(startsB, bit));
  }
  if constexpr (neighbours == Neighbours::All) {
    // Where runs touch by an edge only: the one of b ends before that of a begins, or begins behind it.
    for (Word before = a & b >> 1 & ~b & ~(a >> 1); before != 0; before &= before - 1) {
      const Word bit = lowestBit(before);
      join(runAt(startsA, bit), runAt(startsB, bit << 1));
    }
    for (Word behind = a & b << 1 & ~b & ~(a << 1); behind != 0; behind &= behind - 1) {
      const Word bit = lowestBit(behind);
      join(runAt(startsA, bit), runAt(startsB, bit >> 1));
    }
  }
}

}  // namespace hxvoxora::detail
