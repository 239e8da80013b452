#include <array>
#include <cstdint>
#include <gtest/gtest.h>
#include <vector>

#include "quarn/voxora/bits/BitLevels.h"
#include "tests/voxora/RandomSource.h"

namespace {

bool bit(const std::vector<std::uint8_t>& row, std::size_t i) {
  return (row[i >> 3] & 0x80 >> (i & 7)) != 0;
}

TEST(BitLevels, JoinsPairsOfFourRows) {
  RandomSource random;
  for (const std::size_t byteCount : {4U, 8U, 12U, 16U, 32U}) {
    for (int round = 0; round < 200; ++round) {
      std::array<std::vector<std::uint8_t>, 4> rows;
      for (auto& row : rows) {
        for (std::size_t i = 0; i < byteCount; ++i)
          row.push_back(random.chance(0.7) ? 0 : static_cast<std::uint8_t>(random.word()));
      }
      std::vector<std::uint8_t> result(byteCount / 2 + 1, 0xa5);
      hxvoxora::halveRows(result.data(), rows[0].data(), rows[1].data(), rows[2].data(), rows[3].data(), byteCount);
      EXPECT_EQ(result.back(), 0xa5);
      for (std::size_t i = 0; i < 4 * byteCount; ++i) {
        bool any = false;
        for (const auto& row : rows) any = any || bit(row, 2 * i) || bit(row, 2 * i + 1);
        ASSERT_EQ(bit(result, i), any) << byteCount << " bytes, bit " << i;
      }
    }
  }
}

}  // namespace
