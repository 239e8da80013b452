#include <algorithm>
#include <cstdlib>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <random>
#include <vector>

#include "quarn/base/McException.h"
#include "quarn/voxora/labels/joinLabels.h"
#include "quarn/voxora/labels/separateLabels.h"

namespace hxvoxora {
namespace {

using testing::Each;
using testing::HasSubstr;
using testing::ThrowsMessage;
using Labels = std::vector<std::uint8_t>;

std::size_t voxelsOf(const SbVec3i32& n) {
  return static_cast<std::size_t>(n[0]) * static_cast<std::size_t>(n[1]) * static_cast<std::size_t>(n[2]);
}

/// A mask that is set where `isSet` holds a 1.
LabelledMask maskOf(const Labels& isSet, const TileGrid& grid, std::uint8_t label) {
  auto contents = separateLabels(isSet.data(), grid).value();
  return {contents.at(0).content, label};
}

TEST(JoinLabels, WithoutMasksEveryLabelIsZero) {
  Labels labels(5 * 6 * 7, 9);
  EXPECT_TRUE(joinLabels({}, 255, {5, 6, 7}, labels.data()));
  EXPECT_THAT(labels, Each(0));
}

TEST(JoinLabels, AThirdMaskLeavesAnOverlapAsItIs) {
  const TileGrid grid({40, 1, 1}, {32, 32, 32});
  Labels some(40), all(40, 1), labels(40, 77);
  std::fill(some.begin() + 3, some.begin() + 35, std::uint8_t{1});
  const std::vector<LabelledMask> masks{maskOf(some, grid, 1), maskOf(some, grid, 2), maskOf(all, grid, 3)};
  EXPECT_TRUE(joinLabels(masks, 255, grid.dimensions(), labels.data()));
  for (std::size_t i = 0; i < 40; ++i) EXPECT_EQ(labels[i], some[i] ? 255 : 3) << i;
}

TEST(JoinLabels, MasksOfAnotherGridAreRefusedBeforeAnythingIsWritten) {
  const TileGrid grid({8, 8, 8}, {32, 32, 32});
  const std::vector<LabelledMask> masks{maskOf(Labels(512, 1), grid, 4)};
  Labels labels(8 * 8 * 9, 7);
  EXPECT_THAT(
      [&] {
        joinLabels(masks, 255, {8, 8, 9}, labels.data());
      },
      ThrowsMessage<McException>(HasSubstr("The mask of label 4 has 8 x 8 x 8 voxels")));
  EXPECT_THAT(labels, Each(7));
}

TEST(JoinLabels, ZeroIsNoLabelOfAMask) {
  const TileGrid grid({8, 8, 8}, {32, 32, 32});
  const std::vector<LabelledMask> masks{maskOf(Labels(512, 1), grid, 0)};
  Labels labels(512, 7);
  EXPECT_THAT(
      [&] {
        joinLabels(masks, 255, {8, 8, 8}, labels.data());
      },
      ThrowsMessage<McException>(HasSubstr("label 0")));
  EXPECT_THAT(labels, Each(7));
}

TEST(JoinLabels, TellWhetherMasksShareVoxels) {
  const TileGrid grid({70, 2, 1}, {64, 64, 64});
  Labels front(140), back(140), labels(140);
  std::fill(front.begin(), front.begin() + 69, std::uint8_t{1});
  std::fill(back.begin() + 69, back.end(), std::uint8_t{1});
  std::vector<LabelledMask> masks{maskOf(front, grid, 1), maskOf(back, grid, 2)};
  EXPECT_FALSE(joinLabels(masks, 255, grid.dimensions(), labels.data())->hasOverlaps);
  back[68] = 1;
  masks[1] = maskOf(back, grid, 2);
  EXPECT_TRUE(joinLabels(masks, 255, grid.dimensions(), labels.data())->hasOverlaps);
  EXPECT_EQ(labels[68], 255);
  EXPECT_EQ(labels[67], 1);
  EXPECT_EQ(labels[69], 2);
}

/// So many tiles with bits that they are not all held at once.
TEST(JoinLabels, OfAHundredMixedMasksLeaveNothingOut) {
  const TileGrid grid({300, 40, 33}, {32, 32, 32});
  Labels wanted(voxelsOf(grid.dimensions())), labels(wanted.size(), 9);
  std::vector<LabelledMask> masks;
  for (std::size_t k = 1; k <= 100; ++k) {
    Labels isSet(wanted.size());
    for (std::size_t i = k - 1; i < isSet.size(); i += 101) isSet[i] = 1;
    for (std::size_t i = 0; i < isSet.size(); i += 1000 + k) isSet[i] = 1;
    masks.push_back(maskOf(isSet, grid, static_cast<std::uint8_t>(k)));
    for (std::size_t i = 0; i < isSet.size(); ++i)
      if (isSet[i]) wanted[i] = wanted[i] ? 255 : static_cast<std::uint8_t>(k);
  }
  EXPECT_TRUE(joinLabels(masks, 255, grid.dimensions(), labels.data())->hasOverlaps);
  EXPECT_TRUE(labels == wanted);
}

TEST(JoinLabels, AreGivenUpWhenTheCallbackSaysSo) {
  const TileGrid grid({8, 8, 8}, {32, 32, 32});
  Labels labels(512);
  EXPECT_FALSE(joinLabels({}, 255, {8, 8, 8}, labels.data(), [](double) { return false; }));
}

TEST(JoinLabels, AgreeWithALoopOnAnyGridsAndTiles) {
  const char* given = std::getenv("QUARN_TEST_SEED");
  const unsigned int seed =
      given ? static_cast<unsigned int>(std::strtoul(given, nullptr, 10)) : std::random_device{}();
  SCOPED_TRACE("QUARN_TEST_SEED=" + std::to_string(seed));
  std::mt19937 random(seed);
  const auto length = [&](int most) { return std::uniform_int_distribution<int>(1, most)(random); };
  for (int round = 0; round < 30; ++round) {
    const SbVec3i32 size(length(150), length(70), length(70));
    Labels wanted(voxelsOf(size)), labels(wanted.size(), 50);
    std::vector<LabelledMask> masks;
    bool hasOverlaps = false;
    for (int k = 1; k <= length(5); ++k) {
      const int tile = 32 << random() % 4;
      Labels isSet(wanted.size());
      const int longest = length(400);
      for (std::size_t i = 0; i < isSet.size();) {
        const auto value = static_cast<std::uint8_t>(random() % 2);
        for (const std::size_t end = std::min(isSet.size(), i + static_cast<std::size_t>(length(longest))); i < end;
             ++i)
          isSet[i] = value;
      }
      if (std::ranges::count(isSet, 1) == 0) isSet[0] = 1;
      masks.push_back(maskOf(isSet, TileGrid(size, {tile, tile, tile}), static_cast<std::uint8_t>(k)));
      for (std::size_t i = 0; i < isSet.size(); ++i)
        if (isSet[i]) {
          hasOverlaps = hasOverlaps || wanted[i] != 0;
          wanted[i] = wanted[i] ? 255 : static_cast<std::uint8_t>(k);
        }
    }
    const auto joined = joinLabels(masks, 255, size, labels.data());
    ASSERT_TRUE(joined);
    ASSERT_EQ(joined->hasOverlaps, hasOverlaps);
    ASSERT_EQ(labels, wanted) << size[0] << " x " << size[1] << " x " << size[2];
  }
}

/// The bits of all masks are more than are held in memory at once.
TEST(JoinLabels, AgreeWithALoopWhenTilesAreLarge) {
  const SbVec3i32 size(300, 256, 5);
  const TileGrid grid(size, {256, 256, 256});
  constexpr std::size_t count = 20;
  Labels wanted(voxelsOf(size)), labels(wanted.size(), 50);
  std::vector<LabelledMask> masks;
  for (std::size_t k = 1; k <= count; ++k) {
    Labels isSet(wanted.size());
    for (std::size_t i = 0; i < isSet.size(); ++i) isSet[i] = (i * 2654435761U >> 7) % 23 == k || i % 1000 == 40 * k;
    masks.push_back(maskOf(isSet, grid, static_cast<std::uint8_t>(k)));
    for (std::size_t i = 0; i < isSet.size(); ++i)
      if (isSet[i]) wanted[i] = wanted[i] ? 255 : static_cast<std::uint8_t>(k);
  }
  ASSERT_TRUE(joinLabels(masks, 255, size, labels.data()));
  EXPECT_EQ(labels, wanted);
  EXPECT_GT(std::ranges::count(wanted, 255), 0);
}

}  // namespace
}  // namespace hxvoxora
