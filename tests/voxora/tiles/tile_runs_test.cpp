#include <gtest/gtest.h>

#include "quarn/voxora/tiles/TileRuns.h"
#include "tests/voxora/RandomSource.h"
#include "tests/voxora/nodes/maskSupport.h"

namespace {

using hxvoxora::runsOf;
using hxvoxora::TileGrid;
using hxvoxora::TileRun;

/// The runs, tile by tile.
std::vector<TileRun> expectedRuns(const TileGrid& grid, const SbBox3i32& box) {
  std::vector<TileRun> runs;
  for (std::int64_t tile = 0; tile < grid.tileCount(); ++tile) {
    const SbBox3i32 common = grid.tileBox(tile).intersection(box);
    if (common.isEmpty()) continue;
    const bool whole = common == grid.tileBox(tile);
    if (!runs.empty() && runs.back().whole == whole && runs.back().first + runs.back().count == tile) {
      ++runs.back().count;
    } else {
      runs.push_back({tile, 1, whole});
    }
  }
  return runs;
}

TEST(TileRuns, WholeVolumeIsOneRun) {
  const TileGrid grid({4001, 4096, 4090}, {32, 32, 32});
  EXPECT_EQ(runsOf(grid, grid.box()), (std::vector<TileRun>{{0, grid.tileCount(), true}}));
}

TEST(TileRuns, EmptyBoxHasNone) {
  const TileGrid grid({100, 100, 100}, {32, 32, 32});
  EXPECT_TRUE(runsOf(grid, SbBox3i32()).empty());
  EXPECT_TRUE(runsOf(grid, SbBox3i32({100, 0, 0}, {120, 20, 20})).empty());
}

TEST(TileRuns, EqualALookAtEveryTile) {
  RandomSource random;
  for (int round = 0; round < 2000; ++round) {
    const SbVec3i32 size(random.between(1, 200), random.between(1, 60), random.between(1, 60));
    const TileGrid grid(size, {32, 8, 16});
    const SbBox3i32 box = randomBoxIn(random, size);
    ASSERT_EQ(runsOf(grid, box), expectedRuns(grid, box)) << "round " << round;
  }
}

TEST(TileRuns, BoxesOfWholeTilesHaveNoPartialOnes) {
  const TileGrid grid({130, 20, 20}, {32, 8, 8});
  EXPECT_EQ(runsOf(grid, SbBox3i32({32, 8, 8}, {129, 19, 19})),
            expectedRuns(grid, SbBox3i32({32, 8, 8}, {129, 19, 19})));
  for (const TileRun& run : runsOf(grid, SbBox3i32({32, 8, 8}, {129, 19, 19}))) EXPECT_TRUE(run.whole);
}

}  // namespace
