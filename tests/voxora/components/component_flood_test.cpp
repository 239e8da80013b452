#include <gtest/gtest.h>
#include <malloc.h>
#include <tbb/global_control.h>
#include <utility>

#include "quarn/voxora/components/detail/ComponentFlood.h"
#include "tests/voxora/components/componentShapes.h"

/// What it costs to follow a component.

namespace {

using hxvoxora::Neighbours;
using hxvoxora::TileSnapshot;
using hxvoxora::WorkCallback;
using hxvoxora::detail::BlockGrid;
using hxvoxora::detail::ComponentFlood;

/// One wire of a voxel's width, back and forth along x, with a gap of a voxel between its passes.
DenseMask wire(const SbVec3i32& size) {
  DenseMask voxels(size);
  const int lastX = size[0] - 1;
  int pass = 0, y = 0, step = 2;
  for (int z = 0; z < size[2]; z += 2) {
    while (true) {
      voxels.fill({{0, y, z}, {lastX, y, z}}, true);
      const int end = pass++ % 2 == 0 ? lastX : 0;
      if (y + step < 0 || y + step >= size[1]) {
        if (z + 2 < size[2]) voxels.fill({{end, y, z}, {end, y, z + 2}}, true);
        break;
      }
      voxels.fill({{end, std::min(y, y + step), z}, {end, std::max(y, y + step), z}}, true);
      y += step;
    }
    step = -step;
  }
  return voxels;
}

TEST(ComponentFlood, AWireThatComesBackOftenCostsEachBlockOnce) {
  const DenseMask voxels = wire({130, 66, 66});
  ASSERT_EQ(PlainComponents(voxels, Neighbours::Faces).all().size(), 1u);
  const TileSnapshot volume = maskOf(voxels, {32, 32, 32})->snapshot();
  const std::size_t blocks = 5 * 3 * 3, pairs = 4 * 3 * 3 + 5 * 2 * 3 + 5 * 3 * 2;
  const WorkCallback none;
  const BlockGrid grid(volume.table());
  ComponentFlood flood(grid, Neighbours::Faces, none);
  ASSERT_TRUE(flood.run({0, 0, 0}));
  EXPECT_EQ(flood.cost().blocksLabelled, blocks);
  EXPECT_LE(flood.cost().meetings, pairs);
  // A pass, or two that are connected, is one component in each block.
  EXPECT_LE(flood.cost().nodesFollowed, std::size_t{5 * 33 * 33});
  const TileSnapshot part = flood.volume().value();
  for (std::int64_t tile = 0; tile < volume.tileCount(); ++tile)
    EXPECT_EQ(part.payload(tile), volume.payload(tile)) << tile;
}

TEST(ComponentFlood, FullTilesAreFollowedTogether) {
  const auto mask = makeMask({16384, 16384, 16384}, {64, 64, 64});
  mask->setDefaultValue(true);
  fill(*mask, {{8000, 8000, 8000}, {8100, 8010, 8001}}, false);
  const TileSnapshot volume = mask->snapshot();
  const WorkCallback none;
  const BlockGrid grid(volume.table());
  ComponentFlood flood(grid, Neighbours::All, none);
  ASSERT_TRUE(flood.run({0, 0, 0}));
  EXPECT_EQ(flood.cost().blocksLabelled, 2u);
  // Each page on the way to a mixed tile has 63 marks, and each mark five stretches at most.
  EXPECT_LE(flood.cost().nodesFollowed, 4u * 4u * 63u * 5u);
  const TileSnapshot part = flood.volume().value();
  EXPECT_EQ(part.countTiles().one, std::uint64_t{256 * 256 * 256 - 2});
  EXPECT_EQ(part.countTiles().mixed, 2u);
  const SbBox3i32 around({7900, 7900, 7900}, {8200, 8100, 8100});
  EXPECT_EQ(part.countSetVoxels(around), volume.countSetVoxels(around));
}

std::size_t allocatedBytes() {
  const struct mallinfo2 heap = ::mallinfo2();
  return heap.uordblks + heap.hblkhd;
}

TEST(ComponentFlood, NoiseTakesAPartOfAByteImage) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "the sanitizer has an allocator of its own";
#endif
  RandomSource random;
  const tbb::global_control control(tbb::global_control::max_allowed_parallelism, 1);
  const SbVec3i32 size(256, 256, 256);
  // Of all densities the first one, where clusters of all sizes begin to join, leaves most to remember.
  for (const auto& [density, part] : {std::pair(0.32, 5u), std::pair(0.4, 9u), std::pair(0.5, 10u)}) {
    DenseMask voxels = noiseOf(random, size, density);
    voxels.fill({{0, 128, 128}, {255, 128, 128}}, true);  // goes through everything
    for (const int edge : {32, 64}) {
      const TileSnapshot volume = maskOf(voxels, {edge, edge, edge})->snapshot();
      const std::size_t before = allocatedBytes();
      std::size_t most = before;
      const WorkCallback look = [&](double) {
        most = std::max(most, allocatedBytes());
        return true;
      };
      const BlockGrid grid(volume.table());
      ComponentFlood flood(grid, Neighbours::Faces, look);
      ASSERT_TRUE(flood.run({0, 128, 128}));
      look(1);
      EXPECT_GT(flood.cost().blocksLabelled, std::size_t{60});
      EXPECT_LT(most - before, std::size_t{256 * 256 * 256} / part) << density << " " << edge;
    }
  }
}

}  // namespace
