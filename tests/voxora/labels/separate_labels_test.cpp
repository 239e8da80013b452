#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <random>
#include <span>

#include "quarn/voxora/bits/LabelBits.h"
#include "quarn/voxora/labels/detail/LabelTiles.h"
#include "quarn/voxora/labels/separateLabels.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"

namespace hxvoxora {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Labels = std::vector<std::uint8_t>;

Labels background(const TileGrid& grid) {
  const SbVec3i32& n = grid.dimensions();
  return Labels(static_cast<std::size_t>(n[0]) * static_cast<std::size_t>(n[1]) * static_cast<std::size_t>(n[2]));
}

std::vector<LabelContent> separate(const Labels& labels, const TileGrid& grid) {
  return separateLabels(labels.data(), grid).value();
}

std::vector<int> namesOf(const std::vector<LabelContent>& contents) {
  std::vector<int> names;
  for (const LabelContent& content : contents) names.push_back(content.label);
  return names;
}

bool isSet(const Labels& bits, std::size_t i) {
  return (bits[i / 8] & 0x80 >> i % 8) != 0;
}

/// Each content is set where its label is, and nowhere else; its first voxel is the first of those.
void expectAgreement(std::span<const LabelContent> contents, const Labels& labels, const TileGrid& grid) {
  for (const LabelContent& content : contents) {
    SCOPED_TRACE("label " + std::to_string(content.label));
    Labels bits(labels.size() / 8 + 1);
    content.content.fetch(grid.box(), bits.data());
    for (std::size_t i = 0; i < labels.size(); ++i) ASSERT_EQ(isSet(bits, i), labels[i] == content.label) << i;
    EXPECT_EQ(content.firstVoxel, std::ranges::find(labels, content.label) - labels.begin());
  }
}

unsigned int drawnSeed() {
  const char* given = std::getenv("QUARN_TEST_SEED");
  return given ? static_cast<unsigned int>(std::strtoul(given, nullptr, 10)) : std::random_device{}();
}

TEST(LabelBits, FindEveryLabelAtEveryPlace) {
  std::array<std::uint8_t, labelsPerWord> labels{};
  for (std::size_t place = 0; place < labelsPerWord; ++place) {
    for (const int label : {1, 127, 128, 255}) {
      labels.fill(0);
      labels[place] = static_cast<std::uint8_t>(label);
      ASSERT_EQ(findLabel(labels.data(), static_cast<std::uint8_t>(label)), std::uint64_t{1} << place);
      ASSERT_EQ(findLabel(labels.data(), 0), ~(std::uint64_t{1} << place));
      const std::uint64_t packed = inPackedOrder(std::uint64_t{1} << place);
      std::uint8_t bytes[8];
      std::memcpy(bytes, &packed, sizeof bytes);
      for (std::size_t k = 0; k < 8; ++k) ASSERT_EQ(bytes[k], k == place / 8 ? 0x80 >> place % 8 : 0) << place;
    }
  }
}

TEST(LabelBits, PaintWhatWasFound) {
  std::mt19937 random(7);
  for (int round = 0; round < 200; ++round) {
    std::array<std::uint8_t, labelsPerWord> labels{};
    for (std::uint8_t& label : labels) label = static_cast<std::uint8_t>(random() % 3 * 100);
    std::array<std::uint64_t, labelsPerWord / 8> painted{};
    for (const std::uint8_t label : {std::uint8_t{100}, std::uint8_t{200}})
      paint(painted.data(), inPackedOrder(findLabel(labels.data(), label)), label);
    EXPECT_EQ(std::memcmp(painted.data(), labels.data(), labels.size()), 0) << round;
  }
}

TEST(SeparateLabels, ABackgroundHasNoContent) {
  const TileGrid grid({100, 70, 40}, {32, 32, 32});
  EXPECT_THAT(separate(background(grid), grid), IsEmpty());
}

TEST(SeparateLabels, ComeInTheOrderOfTheirFirstVoxels) {
  const TileGrid grid({100, 2, 2}, {32, 32, 32});
  Labels labels = background(grid);
  labels[399] = 1;
  labels[99] = 7;
  labels[0] = 200;
  labels[300] = 3;
  labels[150] = 3;
  const auto contents = separate(labels, grid);
  EXPECT_THAT(namesOf(contents), ElementsAre(200, 7, 3, 1));
  expectAgreement(contents, labels, grid);
}

TEST(SeparateLabels, TilesOfOneLabelHaveNoBits) {
  const TileGrid grid({96, 40, 33}, {32, 32, 32});
  Labels labels = background(grid);
  std::ranges::fill(labels, std::uint8_t{9});
  labels.front() = 0;
  const auto contents = separate(labels, grid);
  ASSERT_THAT(namesOf(contents), ElementsAre(9));
  const TileSnapshot::TileCounts counts = contents[0].content.countTiles();
  EXPECT_EQ(counts.mixed, 1U);
  EXPECT_EQ(counts.one, static_cast<std::uint64_t>(grid.tileCount() - 1));
  expectAgreement(contents, labels, grid);
}

TEST(SeparateLabels, AreGivenUpWhenTheCallbackSaysSo) {
  const TileGrid grid({64, 2048, 256}, {32, 32, 32});
  const Labels labels = background(grid);
  std::vector<double> fractions;
  EXPECT_FALSE(separateLabels(labels.data(), grid, [&](double fraction) {
    fractions.push_back(fraction);
    return fraction < 0.5;
  }));
  EXPECT_TRUE(std::ranges::is_sorted(fractions));
  EXPECT_GE(fractions.back(), 0.5);
}

TEST(SeparateLabels, AgreeWithALoopOnAnyGrid) {
  const unsigned int seed = drawnSeed();
  SCOPED_TRACE("QUARN_TEST_SEED=" + std::to_string(seed));
  std::mt19937 random(seed);
  const auto length = [&](int most) { return std::uniform_int_distribution<int>(1, most)(random); };
  for (int round = 0; round < 40; ++round) {
    const int tile = 32 << round % 3;
    const TileGrid grid({length(150), length(70), length(70)}, {tile, tile, tile});
    Labels labels = background(grid);
    // Runs of labels, of noise now and then.
    const int longest = length(300), most = length(255);
    for (std::size_t i = 0; i < labels.size();) {
      const auto label = static_cast<std::uint8_t>(random() % static_cast<unsigned int>(most + 1));
      const std::size_t end = std::min(labels.size(), i + static_cast<std::size_t>(length(longest)));
      std::fill(labels.begin() + static_cast<std::ptrdiff_t>(i), labels.begin() + static_cast<std::ptrdiff_t>(end),
                label);
      i = end;
    }
    const auto contents = separate(labels, grid);
    const auto few = std::span(contents).first(std::min<std::size_t>(contents.size(), 5));
    expectAgreement(few, labels, grid);
    std::uint64_t voxels = 0;
    for (const LabelContent& content : contents) {
      const auto count = static_cast<std::uint64_t>(std::ranges::count(labels, content.label));
      ASSERT_EQ(content.content.countSetVoxels(grid.box()), count) << int{content.label};
      voxels += count;
    }
    ASSERT_EQ(voxels + static_cast<std::uint64_t>(std::ranges::count(labels, 0)), labels.size());
    ASSERT_TRUE(std::ranges::is_sorted(contents, {}, &LabelContent::firstVoxel));
  }
}

/// Bits of all these labels are more than are drafted at once.
TEST(SeparateLabels, AgreeWithALoopWhenLargeTilesHaveManyLabels) {
  const TileGrid grid({300, 256, 9}, {256, 256, 256});
  constexpr std::size_t count = 3 * detail::LabelTiles::mostDraftBytes / (std::size_t{2} << 20);
  static_assert(count < 256);
  Labels labels = background(grid);
  for (std::size_t i = 0; i < labels.size(); ++i)
    labels[i] = i < 5000 ? std::uint8_t{7} : static_cast<std::uint8_t>(i * 2654435761U % 4294967291U % (count + 1));
  const auto contents = separate(labels, grid);
  EXPECT_EQ(contents.size(), count);
  EXPECT_EQ(contents.front().label, 7);
  for (const std::size_t which : {std::size_t{0}, count / 2, count - 1})
    expectAgreement(std::span(contents).subspan(which, 1), labels, grid);
  for (const LabelContent& content : contents) {
    const auto voxels = static_cast<std::uint64_t>(std::ranges::count(labels, content.label));
    ASSERT_EQ(content.content.countSetVoxels(grid.box()), voxels) << int{content.label};
  }
  EXPECT_TRUE(std::ranges::is_sorted(contents, {}, &LabelContent::firstVoxel));
}

TEST(SeparateLabels, MasksTakeThemOver) {
  const TileGrid grid({80, 50, 40}, {32, 32, 32});
  Labels labels = background(grid);
  for (std::size_t i = 0; i < labels.size(); ++i) labels[i] = static_cast<std::uint8_t>(i % 3);
  for (const LabelContent& content : separate(labels, grid)) {
    const auto mask = makeRef<SoVolumeMask>();
    mask->initializeInMemory(grid.dimensions(), grid.tileDimensions());
    const int id = mask->beginTransaction();
    mask->combineBox(grid.box(), content.content, TruthTable::CopyB);
    mask->endTransaction(id);
    EXPECT_EQ(mask->countSetVoxels(grid.box()), content.content.countSetVoxels(grid.box()));
  }
}

}  // namespace
}  // namespace hxvoxora
