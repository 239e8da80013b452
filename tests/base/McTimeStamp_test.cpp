#include "quarn/base/McTimeStamp.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <gtest/gtest.h>
#include <vector>

#include "tests/base/Concurrent.h"

namespace {

struct First {};
struct Second {};
struct Shared {};

TEST(McTimeStamp, StartsAtZeroAndCountsUp) {
  EXPECT_EQ(McTimeStamp<First>::s_nextTimeStamp++, 0U);
  EXPECT_EQ(McTimeStamp<First>::s_nextTimeStamp++, 1U);
}

TEST(McTimeStamp, EveryClassHasItsOwnCounter) {
  McTimeStamp<First>::s_nextTimeStamp++;
  EXPECT_EQ(McTimeStamp<Second>::s_nextTimeStamp, 0U);
}

TEST(McTimeStamp, GivesNoNumberTwice) {
  constexpr int kThreads = 4;
  constexpr std::size_t kDraws = 20000;
  std::array<std::vector<std::uint64_t>, kThreads> drawn;
  runTogether(kThreads, [&](int thread) {
    for (std::size_t i = 0; i < kDraws; ++i) {
      drawn[static_cast<std::size_t>(thread)].push_back(McTimeStamp<Shared>::s_nextTimeStamp++);
    }
  });
  std::vector<std::uint64_t> all;
  for (const auto& stamps : drawn) {
    EXPECT_TRUE(std::ranges::is_sorted(stamps));
    all.insert(all.end(), stamps.begin(), stamps.end());
  }
  std::ranges::sort(all);
  for (std::size_t i = 0; i < all.size(); ++i) ASSERT_EQ(all[i], i);
}

}  // namespace
