#include <gtest/gtest.h>

#include "quarn/base/McException.h"
#include "quarn/voxora/tiles/TileGrid.h"
#include "tests/voxora/nodes/maskSupport.h"

namespace {

using hxvoxora::TileGrid;

TEST(TileGrid, TilesCoverEveryVoxelOnce) {
  RandomSource random;
  for (int round = 0; round < 200; ++round) {
    const SbVec3i32 size(random.between(1, 100), random.between(1, 30), random.between(1, 30));
    const TileGrid grid(size, {32, 8, 16});
    DenseMask covered(size);
    for (std::int64_t tile = 0; tile < grid.tileCount(); ++tile) {
      const SbBox3i32 box = grid.tileBox(tile);
      ASSERT_EQ(covered.count(box), 0u);
      covered.fill(box, true);
      ASSERT_EQ(grid.isCut(tile), box.size(0) != 32 || box.size(1) != 8 || box.size(2) != 16);
    }
    ASSERT_EQ(covered.count(grid.box()), static_cast<std::uint64_t>(size[0]) * size[1] * size[2]);
  }
}

TEST(TileGrid, TilesOfABoxAreThoseThatShareVoxels) {
  RandomSource random;
  for (int round = 0; round < 500; ++round) {
    const SbVec3i32 size(random.between(1, 100), random.between(1, 30), random.between(1, 30));
    const TileGrid grid(size, {32, 8, 16});
    const SbBox3i32 box = randomBoxIn(random, size);
    std::vector<std::int64_t> expected, found;
    for (std::int64_t tile = 0; tile < grid.tileCount(); ++tile)
      if (!grid.tileBox(tile).intersection(box).isEmpty()) expected.push_back(tile);
    const TileGrid::Range range = grid.tilesOf(box);
    for (std::int64_t i = 0; i < range.size(); ++i) found.push_back(range[i]);
    ASSERT_EQ(found, expected);
  }
}

TEST(TileGrid, BoxesOutsideHaveNoTiles) {
  const TileGrid grid({40, 10, 10}, {32, 8, 8});
  EXPECT_EQ(grid.tilesOf({{40, 0, 0}, {50, 9, 9}}).size(), 0);
  EXPECT_EQ(grid.tilesOf(SbBox3i32()).size(), 0);
  EXPECT_EQ(grid.tilesOf({{-5, -5, -5}, {100, 100, 100}}).size(), 8);
  EXPECT_EQ(TileGrid().tilesOf({{0, 0, 0}, {9, 9, 9}}).size(), 0);
}

TEST(TileGrid, NumbersRunXFastest) {
  const TileGrid grid({65, 17, 9}, {32, 8, 8});
  EXPECT_EQ(grid.tileCount(), 3 * 3 * 2);
  EXPECT_EQ(grid.tileBox(1).getMin(), SbVec3i32(32, 0, 0));
  EXPECT_EQ(grid.tileBox(3).getMin(), SbVec3i32(0, 8, 0));
  EXPECT_EQ(grid.tileBox(9).getMin(), SbVec3i32(0, 0, 8));
  EXPECT_EQ(grid.tileBox(17), SbBox3i32({64, 16, 8}, {64, 16, 8}));
  EXPECT_EQ(grid.tileByteSize(), 256u);
}

TEST(TileGrid, EmptyGridHasNothing) {
  const TileGrid grid;
  EXPECT_TRUE(grid.isEmpty());
  EXPECT_TRUE(grid.box().isEmpty());
  EXPECT_EQ(grid.tileCount(), 0);
}

TEST(TileGrid, CountsOfLargestVolumesDoNotOverflow) {
  EXPECT_EQ(TileGrid({2147483647, 1, 1}, {256, 8, 8}).tileCount(), std::int64_t{1} << 23);
  EXPECT_THROW(TileGrid({2147483647, 2147483647, 1}, {32, 8, 8}), McException);
  EXPECT_THROW(TileGrid({1, 2147483647, 2147483647}, {32, 8, 8}), McException);
}

}  // namespace
