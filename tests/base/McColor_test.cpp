#include "quarn/base/McColor.h"

#include <array>
#include <cmath>
#include <gtest/gtest.h>
#include <set>
#include <tuple>
#include <vector>

#include "tests/base/Concurrent.h"

namespace {

using Channels = std::tuple<float, float, float>;

Channels channels(const McColor& color) {
  return {color.r, color.g, color.b};
}

std::vector<McColor> drawCycle() {
  std::vector<McColor> colors;
  for (std::size_t i = 0; i < McColor::htmlColorCount(); ++i) colors.push_back(McColor::nextHtmlColor());
  return colors;
}

TEST(McColor, ComparesExactly) {
  const McColor color(0.25F, 0.5F, 0.75F);
  EXPECT_EQ(color, McColor(0.25F, 0.5F, 0.75F));
  EXPECT_NE(color, McColor(std::nextafter(0.25F, 1.0F), 0.5F, 0.75F));
  EXPECT_NE(color, McColor(0.25F, std::nextafter(0.5F, 1.0F), 0.75F));
  EXPECT_NE(color, McColor(0.25F, 0.5F, std::nextafter(0.75F, 1.0F)));
}

TEST(McColor, IndexAndNamesAreTheSameChannels) {
  McColor color(0.1F, 0.2F, 0.3F);
  EXPECT_EQ(color[0], color.r);
  EXPECT_EQ(color[1], color.g);
  EXPECT_EQ(color[2], color.b);
  color[2] = 1;
  EXPECT_EQ(color.b, 1);
}

TEST(McColor, SequenceRepeatsInTheSameOrder) {
  const std::vector<McColor> first = drawCycle();
  EXPECT_EQ(drawCycle(), first);
}

TEST(McColor, ColorsOfACycleDifferAndAreValid) {
  ASSERT_GE(McColor::htmlColorCount(), 20U);
  std::set<Channels> seen;
  for (const McColor& color : drawCycle()) {
    seen.insert(channels(color));
    for (int i = 0; i < 3; ++i) {
      EXPECT_GE(color[i], 0);
      EXPECT_LE(color[i], 1);
    }
  }
  EXPECT_EQ(seen.size(), McColor::htmlColorCount());
}

TEST(McColor, ColorsOfACycleAreEasyToTellApart) {
  const std::vector<McColor> colors = drawCycle();
  for (std::size_t i = 0; i < colors.size(); ++i) {
    for (std::size_t j = 0; j < i; ++j) {
      const McColor &a = colors[i], &b = colors[j];
      EXPECT_GT(std::hypot(a.r - b.r, a.g - b.g, a.b - b.b), 0.2) << "colors " << i << " and " << j;
    }
  }
}

TEST(McColor, ThreadsShareOneSequence) {
  constexpr int kThreads = 4;
  const std::size_t share = McColor::htmlColorCount() / kThreads;
  ASSERT_EQ(share * kThreads, McColor::htmlColorCount());
  for (int round = 0; round < 200; ++round) {
    std::array<std::vector<McColor>, kThreads> drawn;
    runTogether(kThreads, [&](int thread) {
      for (std::size_t i = 0; i < share; ++i) {
        drawn[static_cast<std::size_t>(thread)].push_back(McColor::nextHtmlColor());
      }
    });
    std::set<Channels> seen;
    for (const auto& colors : drawn) {
      for (const McColor& color : colors) seen.insert(channels(color));
    }
    ASSERT_EQ(seen.size(), McColor::htmlColorCount()) << "round " << round;
  }
}

}  // namespace
