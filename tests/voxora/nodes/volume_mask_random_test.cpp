#include <array>
#include <cstddef>
#include <gtest/gtest.h>
#include <tbb/global_control.h>

#include "quarn/voxora/files/MemoryFileSystem.h"
#include "tests/support/stride.h"
#include "tests/voxora/nodes/maskSupport.h"
#include "tests/voxora/tiles/budgetScopes.h"

namespace {

using hxvoxora::TileSnapshot;
using hxvoxora::TruthTable;

const std::array<SbVec3i32, 4> tileSizes = {SbVec3i32(32, 8, 8), SbVec3i32(32, 32, 32), SbVec3i32(64, 8, 16),
                                            SbVec3i32(128, 16, 8)};

SbVec3i32 randomSize(RandomSource& random, int round) {
  if (round % 500 == 0) return {257, 65, 33};
  if (round % 50 == 0) return {13, 11, 7};
  return {random.between(1, 90), random.between(1, 28), random.between(1, 20)};
}

/// A mask and the same voxels the plain way.
struct Pair {
  Ref<SoVolumeMask> mask;
  DenseMask dense;

  Pair(RandomSource& random, const SbVec3i32& size)
      : mask(makeMask(size, tileSizes[random.between<std::size_t>(0, tileSizes.size() - 1)])),
        dense(randomContent(random, size)) {
    replace(*mask, dense.box(), dense);
  }
};

/// Every tile that could be a constant is one, and bits beyond the volume are clear.
void expectTidyTiles(const TileSnapshot& content, const DenseMask& dense) {
  for (std::int64_t tile = 0; tile < content.tileCount(); ++tile) {
    const SbBox3i32 box = content.tileBox(tile);
    const std::uint64_t set = dense.count(box);
    const auto voxels = static_cast<std::uint64_t>(box.size(0) * box.size(1) * box.size(2));
    const auto kind = set == 0        ? TileSnapshot::Kind::Zero
                      : set == voxels ? TileSnapshot::Kind::One
                                      : TileSnapshot::Kind::Mixed;
    ASSERT_EQ(content.kind(tile), kind) << "tile " << tile;
    const auto payload = content.payload(tile);
    ASSERT_EQ(static_cast<bool>(payload), kind == TileSnapshot::Kind::Mixed);
    if (!payload) continue;
    const SbVec3i32 size = content.tileDimensions();
    const SbBox3i32 all({0, 0, 0}, {size[0] - 1, size[1] - 1, size[2] - 1});
    ASSERT_EQ(hxvoxora::countRows(payload->bits(), hxvoxora::BitLayout::packed(all), all), set) << "tile " << tile;
  }
}

void applyRandomEdit(RandomSource& random, Pair& pair, const Pair& other) {
  const SbBox3i32 box = randomBoxIn(random, pair.dense.dimensions());
  SoVolumeMask& mask = *pair.mask;
  switch (random.between(0, 3)) {
    case 0: {
      const bool value = random.chance(0.5);
      fill(mask, box, value);
      pair.dense.fill(box, value);
      break;
    }
    case 1: {
      const DenseMask content = randomContent(random, pair.dense.dimensions());
      replace(mask, box, content);
      pair.dense.combine(box, content, TruthTable::CopyB);
      break;
    }
    case 2:
      inTransaction(mask, [&] { mask.invertBox(box); });
      pair.dense.invert(box);
      break;
    default: {
      const auto f = static_cast<TruthTable>(random.between(0, 15));
      inTransaction(mask, [&] { mask.combineBox(box, *other.mask, f); });
      pair.dense.combine(box, other.dense, f);
    }
  }
}

/// All tests run with the budget of the process, and with one of a few small tiles.
class SoVolumeMaskRandom : public testing::TestWithParam<std::size_t> {
private:
  hxvoxora::MemoryFileSystem files_;
  SpillScope place_{files_};
  BudgetScope budget_{GetParam()};
};

INSTANTIATE_TEST_SUITE_P(Budgets, SoVolumeMaskRandom, testing::Values(std::size_t{0}, std::size_t{2048}));

TEST_P(SoVolumeMaskRandom, ParallelEditsEqualVoxelLoops) {
  const tbb::global_control threads(tbb::global_control::max_allowed_parallelism, 4);
  const std::uint64_t spills = hxvoxora::cacheStatistics().spills;
  RandomSource random;
  for (int round = 0; round < testRounds(10000); ++round) {
    const SbVec3i32 size = randomSize(random, round);
    Pair pair(random, size);
    const Pair other(random, size);
    applyRandomEdit(random, pair, other);
    applyRandomEdit(random, pair, other);
    ASSERT_EQ(fetched(*pair.mask, pair.dense.box()), pair.dense.packed(pair.dense.box())) << "round " << round;
    if (round % 10 == 0) expectTidyTiles(pair.mask->snapshot(), pair.dense);
    if (::testing::Test::HasFatalFailure()) return;
  }
  EXPECT_EQ(hxvoxora::cacheStatistics().spills > spills, GetParam() > 0);
}

TEST_P(SoVolumeMaskRandom, QueriesEqualVoxelLoops) {
  RandomSource random;
  for (int round = 0; round < testRounds(2000); ++round) {
    const Pair pair(random, randomSize(random, round));
    const SbBox3i32 box = randomBoxIn(random, pair.dense.dimensions());
    ASSERT_EQ(fetched(*pair.mask, box), pair.dense.packed(box));
    ASSERT_EQ(pair.mask->countSetVoxels(box), pair.dense.count(box));
    ASSERT_EQ(pair.mask->computeBoundingBox(box), pair.dense.bounds(box));
  }
}

using VoxelRun = std::array<int, 4>;

std::vector<VoxelRun> runsByLoop(const DenseMask& dense, const SbBox3i32& box) {
  std::vector<VoxelRun> runs;
  DenseMask::forEachVoxel(box, [&](int x, int y, int z) {
    if (!dense.at(x, y, z)) return;
    const bool continued = !runs.empty() && runs.back()[0] == y && runs.back()[1] == z && runs.back()[3] == x;
    if (continued)
      ++runs.back()[3];
    else
      runs.push_back({y, z, x, x + 1});
  });
  return runs;
}

TEST_P(SoVolumeMaskRandom, RunsEqualVoxelLoops) {
  RandomSource random;
  for (int round = 0; round < testRounds(2000); ++round) {
    const Pair pair(random, randomSize(random, round));
    const SbBox3i32 box = randomBoxIn(random, pair.dense.dimensions());
    const TileSnapshot content = pair.mask->snapshot();
    std::vector<VoxelRun> runs;
    content.forEachRun(box, [&](int y, int z, int x0, int x1) { runs.push_back({y, z, x0, x1}); });
    ASSERT_EQ(runs, runsByLoop(pair.dense, box));

    DenseMask fromTiles(pair.dense.dimensions());
    for (std::int64_t tile = 0; tile < content.tileCount(); ++tile) {
      std::vector<VoxelRun> tileRuns;
      const SbBox3i32 part = content.tileBox(tile).intersection(box);
      content.forEachRunInTile(tile, box, [&](int y, int z, int x0, int x1) { tileRuns.push_back({y, z, x0, x1}); });
      ASSERT_EQ(tileRuns, part.isEmpty() ? std::vector<VoxelRun>() : runsByLoop(pair.dense, part));
    }
  }
}

TEST_P(SoVolumeMaskRandom, LargeFetchesInParallelEqualSmallOnes) {
  const tbb::global_control threads(tbb::global_control::max_allowed_parallelism, 4);
  RandomSource random;
  const auto mask = makeMask({257, 165, 133}, {64, 64, 64});
  for (int i = 0; i < 40; ++i) fill(*mask, randomBoxIn(random, mask->dataDimension()), random.chance(0.5));
  const SbBox3i32 box({1, 2, 3}, {255, 163, 131});
  const std::vector<std::byte> all = fetched(*mask, box);
  const auto layout = hxvoxora::BitLayout::packed(box);
  std::vector<std::byte> joined(all.size());
  for (int z = box.getMin()[2]; z <= box.getMax()[2]; ++z) {
    const SbBox3i32 slice({1, 2, z}, {255, 163, z});
    hxvoxora::copyRows(joined.data(), layout, fetched(*mask, slice).data(), hxvoxora::BitLayout::packed(slice), slice);
  }
  EXPECT_EQ(all, joined);
}

TEST_P(SoVolumeMaskRandom, ResultsDoNotDependOnTheNumberOfThreads) {
  RandomSource random;
  const SbVec3i32 size(257, 65, 33);
  const DenseMask a = randomContent(random, size), b = randomContent(random, size);
  std::vector<std::vector<std::byte>> results;
  for (const int threadCount : {1, 2, 4}) {
    const tbb::global_control threads(tbb::global_control::max_allowed_parallelism,
                                      static_cast<std::size_t>(threadCount));
    const auto left = makeMask(size), right = makeMask(size, {64, 32, 16});
    replace(*left, a.box(), a);
    replace(*right, b.box(), b);
    inTransaction(*left, [&] { left->combineBox({{1, 1, 1}, {255, 63, 31}}, *right, TruthTable::Xor); });
    results.push_back(fetched(*left, a.box()));
  }
  EXPECT_EQ(results[0], results[1]);
  EXPECT_EQ(results[0], results[2]);
}

}  // namespace
