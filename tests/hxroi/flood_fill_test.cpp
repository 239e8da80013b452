#include "hxroi/details/VoxelChecker.h"
#include "tests/hxroi/SplitTest.h"

namespace {

using hxroi::details::FloodFillAdapter;
using hxroi::details::VoxelChecker;

class MaskFloodFill : public SplitTest {
protected:
  static constexpr McVec3i kGrid{13, 11, 7};
};

}  // namespace

TEST_F(MaskFloodFill, AdapterKeepsBitsAndBox) {
  FloodFillAdapter fill(kGrid);
  EXPECT_EQ(fill.visited().size(), 13U * 11U * 7U);
  EXPECT_EQ(fill.box(), hxroi::emptyBox<int>());
  fill.visitRun(3, 5, 2, 1);
  fill.visitRun(4, 4, 3, 1);
  EXPECT_EQ(fill.box(), McBox3i(3, 5, 2, 3, 1, 1));
  EXPECT_TRUE(fill.isVisited(3, 2, 1) && fill.isVisited(5, 2, 1) && fill.isVisited(4, 3, 1));
  EXPECT_FALSE(fill.isVisited(2, 2, 1) || fill.isVisited(6, 2, 1) || fill.isVisited(3, 3, 1));
  EXPECT_TRUE(fill.visited().get(3 + 13 * (2 + 11 * 1)));
  fill.clear();
  EXPECT_EQ(fill.visited(), McBitfield(13U * 11U * 7U));
  EXPECT_EQ(fill.box(), hxroi::emptyBox<int>());
}

TEST_F(MaskFloodFill, CheckerAdmitsSetVoxelsOfAView) {
  const auto mask = maskOf(kGrid, {{3, 4, 5}});
  const BoxProxy view = mask->getConstBox({2, 2, 2}, {5, 5, 5});
  const VoxelChecker checker(view);
  EXPECT_TRUE(checker(1, 2, 3));
  EXPECT_FALSE(checker(2, 2, 3));
}

TEST_F(MaskFloodFill, FirstComponentIsThatOfTheSeed) {
  const auto source = maskOf(kGrid, {{1, 1, 1}, {2, 1, 1}, {2, 2, 1}, {9, 9, 5}});
  source->setProperty("side", "left");
  const McHandle<Mask> mask = source->getFirstConnectedComponent(source->getConstBox(), {2, 2, 1});
  EXPECT_EQ(mask->name(), "mask-splitted-component0");
  EXPECT_EQ(mask->dimensions(), kGrid);
  EXPECT_EQ(mask->colormap(false), nullptr);
  EXPECT_EQ(count(*mask), 3U);
  EXPECT_EQ(mask->getBoundingBox(), McBox3i(1, 2, 1, 2, 1, 1));
  EXPECT_FALSE(voxel(*mask, 1, 2, 1));
  EXPECT_EQ(count(*source), 4U);
}

TEST_F(MaskFloodFill, FirstComponentOfAClearSeedIsEmpty) {
  const auto source = maskOf(kGrid, {{1, 1, 1}});
  for (const McVec3i& seed : {McVec3i(0, 0, 0), McVec3i(13, 0, 0), McVec3i(-1, 1, 1)}) {
    const McHandle<Mask> mask = source->getFirstConnectedComponent(source->getConstBox(), seed);
    EXPECT_EQ(count(*mask), 0U);
    EXPECT_EQ(mask->cachedBoundingBox(), hxroi::emptyBox<int>());
  }
}

TEST_F(MaskFloodFill, ViewsEndTheComponentAndGiveTheCoordinates) {
  const auto source = makeMask(kGrid, McBox3i(0, 12, 4, 4, 3, 3));
  const McHandle<Mask> mask = source->getFirstConnectedComponent(source->getConstBox({5, 4, 3}, {4, 1, 1}), {1, 0, 0});
  EXPECT_EQ(mask->getBoundingBox(), McBox3i(0, 3, 0, 0, 0, 0));
}

TEST_F(MaskFloodFill, ViewsThatDoNotFitAreRefused) {
  const auto source = makeMask({4, 4, 4});
  const auto larger = makeMask({5, 4, 4});
  EXPECT_THAT(refusal([&] {
                source->getFirstConnectedComponent(larger->getConstBox(), {0, 0, 0});
              }),
              ::testing::HasSubstr("5 x 4 x 4"));
}

TEST_F(MaskFloodFill, FirstComponentEqualsThatOfASplit) {
  auto random = seededRandom();
  const auto source = makeMask(kGrid);
  setBits(*source, randomBits(kGrid, random, 0.3));
  for (const auto& piece : split(*source, 20)) {
    if (!piece->cachedBoundingBox()) continue;
    const Bits bits = bitsOf(*piece);
    const auto first = static_cast<int>(std::find(bits.begin(), bits.end(), true) - bits.begin());
    const McVec3i seed(first % 13, first / 13 % 11, first / 13 / 11);
    const McHandle<Mask> mask = source->getFirstConnectedComponent(source->getConstBox(), seed);
    ASSERT_EQ(bitsOf(*mask), bits);
  }
}
