#include <cstring>
#include <gtest/gtest.h>

#include "quarn/voxora/bits/StreamedBlocks.h"
#include "tests/voxora/RandomSource.h"

namespace {

using hxvoxora::TruthTable;
using hxvoxora::WordSummary;

constexpr std::size_t largest = 4096, guard = 64;

/// Blocks with guards around.
struct Block {
  alignas(64) std::uint8_t bytes[guard + largest + guard];

  std::uint8_t* data() { return bytes + guard; }

  void draw(RandomSource& random) {
    const int kind = random.between(0, 3);
    for (std::uint8_t& byte : bytes)
      byte = static_cast<std::uint8_t>(kind == 0 ? 0 : kind == 1 ? 0xff : random.between(0, 255));
  }
};

TEST(StreamedBlocks, EqualTheOnesThatStayInTheCache) {
  RandomSource random;
  static Block a, b, streamed, plain;
  for (int round = 0; round < 3000; ++round) {
    a.draw(random);
    b.draw(random);
    streamed.draw(random);
    plain = streamed;
    const std::size_t count = random.between<std::size_t>(0, largest / 64) * 64;
    const auto f = static_cast<TruthTable>(round % 16);
    const WordSummary seen = combineBlocksStreamed(streamed.data(), a.data(), b.data(), count, f);
    const WordSummary expected = combineBlocks(plain.data(), a.data(), b.data(), count, f);
    ASSERT_EQ(std::memcmp(streamed.bytes, plain.bytes, sizeof plain.bytes), 0) << "round " << round;
    ASSERT_EQ(seen.anySet, expected.anySet) << "round " << round;
    ASSERT_EQ(seen.anyClear, expected.anyClear) << "round " << round;
  }
}

}  // namespace
