#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdexcept>
#include <tbb/global_control.h>
#include <tbb/parallel_for.h>

#include "quarn/base/McException.h"
#include "quarn/voxora/components/componentAt.h"
#include "quarn/voxora/components/findComponents.h"
#include "quarn/voxora/files/MemoryFileSystem.h"
#include "tests/support/stride.h"
#include "tests/voxora/components/AskedOften.h"
#include "tests/voxora/components/componentShapes.h"
#include "tests/voxora/tiles/budgetScopes.h"

namespace {

using hxvoxora::Component;
using hxvoxora::componentAt;
using hxvoxora::findComponents;
using hxvoxora::MemoryFileSystem;
using hxvoxora::Neighbours;
using hxvoxora::payloadStatistics;
using hxvoxora::TileSnapshot;
using hxvoxora::TruthTable;
using ::testing::HasSubstr;
using ::testing::ThrowsMessage;
using Kind = TileSnapshot::Kind;

std::vector<std::byte> bitsOf(const TileSnapshot& volume) {
  const SbBox3i32 box = volume.grid().box();
  std::vector<std::byte> bits(static_cast<std::size_t>((box.size(0) * box.size(1) * box.size(2) + 7) / 8));
  volume.fetch(box, bits.data());
  return bits;
}

/// A voxel of a component other than its first one.
SbVec3i32 someVoxelOf(const DenseMask& component, RandomSource& random, const SbBox3i32& box) {
  std::vector<SbVec3i32> voxels;
  DenseMask::forEachVoxel(box, [&](int x, int y, int z) {
    if (component.at(x, y, z)) voxels.push_back({x, y, z});
  });
  return voxels[random.between<std::size_t>(0, voxels.size() - 1)];
}

/// Up to 30 components of a shape, from any of their voxels.
void expectPlainComponents(const Shape& shape, RandomSource& random) {
  const auto mask = maskOf(shape.voxels, shape.tile);
  for (const Neighbours neighbours : {Neighbours::Faces, Neighbours::All}) {
    PlainComponents plain(shape.voxels, neighbours);
    const std::size_t count = plain.all().size();
    for (std::size_t i = 0; i < count; i += 1 + count / 30) {
      const DenseMask expected = plain.voxelsOf(i);
      const SbVec3i32 seed = someVoxelOf(expected, random, plain.all()[i].box);
      const auto component = componentAt(mask->snapshot(), neighbours, seed);
      ASSERT_TRUE(component);
      ASSERT_EQ(component->grid(), mask->snapshot().grid());
      ASSERT_EQ(bitsOf(*component), expected.packed(expected.box()))
          << describe(shape, neighbours) << ", seed " << seed[0] << " " << seed[1] << " " << seed[2];
    }
  }
}

TEST(ComponentAt, AgreesWithPlainCodeOnRandomVolumes) {
  RandomSource random;
  for (int round = 0; round < 25 && !::testing::Test::HasFatalFailure(); ++round)
    expectPlainComponents(randomShape(random), random);
}

TEST(ComponentAt, AgreesWithPlainCodeOnDifficultShapes) {
  RandomSource random;
  for (const Shape& shape : difficultShapes()) expectPlainComponents(shape, random);
}

TEST(ComponentAt, AgreesWithPlainCodeOnRunsOfFullTiles) {
  RandomSource random;
  for (int round = 0; round < testRounds(20) && !::testing::Test::HasFatalFailure(); ++round)
    expectPlainComponents(shapeOfTiles(random), random);
}

TEST(ComponentAt, AllComponentsTogetherAreTheVolume) {
  RandomSource random;
  for (const Neighbours neighbours : {Neighbours::Faces, Neighbours::All}) {
    const auto mask = maskOf(noiseOf(random, {90, 40, 30}, 0.08), {32, 16, 16});
    const auto sum = makeMask({90, 40, 30}, {32, 16, 16});
    const TileSnapshot volume = mask->snapshot();
    std::uint64_t voxels = 0;
    EXPECT_TRUE(findComponents(volume, neighbours, [&](const Component& component) {
      const TileSnapshot part = componentAt(volume, neighbours, component.first).value();
      EXPECT_EQ(part.countSetVoxels(component.box), component.voxelCount);
      EXPECT_EQ(part.computeBoundingBox(part.grid().box()), component.box);
      inTransaction(*sum, [&] { sum->combineBox(wholeBox(*sum), part, TruthTable::Xor); });
      voxels += component.voxelCount;
    }));
    EXPECT_EQ(voxels, mask->countSetVoxels(wholeBox(*mask)));
    EXPECT_EQ(bitsOf(sum->snapshot()), bitsOf(volume));
  }
}

TEST(ComponentAt, TilesOfOneComponentAreShared) {
  const auto mask = makeMask({128, 32, 32}, {32, 32, 32});
  fill(*mask, {{10, 0, 0}, {100, 20, 31}}, true);  // the second and third tile have nothing else
  fill(*mask, {{5, 30, 30}, {6, 31, 31}}, true);
  const TileSnapshot volume = mask->snapshot();
  const TileSnapshot part = componentAt(volume, Neighbours::Faces, {50, 5, 5}).value();
  EXPECT_FALSE(part.payload(0) == volume.payload(0));
  for (const std::int64_t tile : {1, 2, 3}) EXPECT_EQ(part.payload(tile), volume.payload(tile));
  const TileSnapshot other = componentAt(volume, Neighbours::Faces, {5, 30, 30}).value();
  EXPECT_EQ(other.kind(0), Kind::Mixed);
  for (const std::int64_t tile : {1, 2, 3}) EXPECT_EQ(other.kind(tile), Kind::Zero);
}

TEST(ComponentAt, ConstantTilesStayConstant) {
  const auto mask = makeMask({4096, 4096, 4096}, {64, 64, 64});
  const SbBox3i32 box({64, 64, 64}, {319, 191, 255});
  fill(*mask, box, true);
  fill(*mask, {{2000, 2000, 2000}, {2100, 2100, 2100}}, true);
  const std::size_t handedOut = payloadStatistics().payloadsHandedOut;
  const TileSnapshot part = componentAt(mask->snapshot(), Neighbours::All, {100, 100, 100}).value();
  EXPECT_EQ(part.countTiles().one, 4u * 2u * 3u);
  EXPECT_EQ(part.countTiles().mixed, 0u);
  EXPECT_EQ(part.computeBoundingBox(part.grid().box()), box);
  EXPECT_EQ(payloadStatistics().payloadsHandedOut, handedOut);
}

TEST(ComponentAt, ClearSeedsGiveAnEmptyVolume) {
  const auto mask = makeMask({64, 16, 16});
  fill(*mask, {{10, 0, 0}, {20, 5, 5}}, true);
  for (const SbVec3i32& seed : {SbVec3i32(9, 0, 0), SbVec3i32(40, 10, 10)}) {
    const auto part = componentAt(mask->snapshot(), Neighbours::All, seed);
    ASSERT_TRUE(part);
    EXPECT_EQ(part->countSetVoxels(part->grid().box()), 0u);
  }
}

TEST(ComponentAt, SeedsOutsideAreRefused) {
  const TileSnapshot volume = makeMask({64, 16, 16})->snapshot();
  for (const SbVec3i32& seed : {SbVec3i32(64, 0, 0), SbVec3i32(0, -1, 0), SbVec3i32(0, 0, 16)})
    EXPECT_THROW(componentAt(volume, Neighbours::Faces, seed), McException);
}

TEST(ComponentAt, VolumesThatAreSetByDefault) {
  const auto mask = makeMask({100, 50, 50});
  mask->setDefaultValue(true);
  fill(*mask, {{50, 0, 0}, {50, 49, 49}}, false);
  const TileSnapshot part = componentAt(mask->snapshot(), Neighbours::Faces, {99, 49, 49}).value();
  EXPECT_EQ(part.computeBoundingBox(part.grid().box()), SbBox3i32({51, 0, 0}, {99, 49, 49}));
  EXPECT_EQ(part.countSetVoxels(part.grid().box()), 49u * 2500u);
}

TEST(ComponentAt, SeveralAtOnce) {
  RandomSource random;
  const DenseMask voxels = noiseOf(random, {100, 50, 40}, 0.25);
  PlainComponents plain(voxels, Neighbours::Faces);
  const auto mask = maskOf(voxels, {32, 16, 16});
  const TileSnapshot volume = mask->snapshot();
  tbb::parallel_for(std::size_t{0}, std::min<std::size_t>(plain.all().size(), 300), [&](std::size_t i) {
    const Component& component = plain.all()[i];
    const TileSnapshot part = componentAt(volume, Neighbours::Faces, component.first).value();
    EXPECT_EQ(part.countSetVoxels(part.grid().box()), component.voxelCount);
    EXPECT_EQ(part.computeBoundingBox(part.grid().box()), component.box);
  });
}

TEST(ComponentAt, TilesLeaveMemoryMeanwhile) {
  RandomSource random;
  MemoryFileSystem files;
  const DenseMask voxels = noiseOf(random, {150, 60, 60}, 0.35);
  {
    const auto mask = hxvoxora::makeRef<SoVolumeMask>(files);
    mask->initializeInMemory(voxels.dimensions(), {64, 16, 8});
    replace(*mask, voxels.box(), voxels);
    mask->saveEditing("a.ldm", false, {"-c", "gzip"});
  }
  const auto mask = hxvoxora::makeRef<SoVolumeMask>(files);
  mask->bindTo("a.ldm");
  PlainComponents plain(voxels, Neighbours::Faces);
  const auto largest = std::max_element(plain.all().begin(), plain.all().end(),
                                        [](const auto& a, const auto& b) { return a.voxelCount < b.voxelCount; });
  const DenseMask expected = plain.voxelsOf(static_cast<std::size_t>(largest - plain.all().begin()));
  const SpillScope spill(files);
  const BudgetScope budget(payloadStatistics().bytesInUse + (std::size_t{32} << 10));
  const auto before = hxvoxora::cacheStatistics();
  const auto part = componentAt(mask->snapshot(), Neighbours::Faces, largest->first);
  EXPECT_GT(hxvoxora::cacheStatistics().evictions, before.evictions);
  EXPECT_EQ(bitsOf(*part), expected.packed(expected.box()));
}

TEST(ComponentAt, DamagedTilesAreAnError) {
  MemoryFileSystem files;
  const auto mask = hxvoxora::makeRef<SoVolumeMask>(files);
  mask->initializeInMemory({150, 60, 60}, {32, 8, 8});
  DenseMask voxels({150, 60, 60}, true);
  DenseMask::forEachVoxel(voxels.box(), [&](int x, int y, int z) { voxels.at(x, y, z) = (x + y + z) % 3 != 0; });
  replace(*mask, voxels.box(), voxels);
  mask->saveEditing("a.ldm", false, {});
  MemoryFileSystem::Bytes bytes = files.content("a.dat");
  bytes.at(bytes.size() / 2) ^= std::byte{1};
  files.remove("a.dat");
  files.setContent("a.dat", bytes);
  const auto stored = hxvoxora::makeRef<SoVolumeMask>(files);
  stored->bindTo("a.ldm");
  EXPECT_THAT(
      [&] {
        componentAt(stored->snapshot(), Neighbours::All, {1, 0, 0});
      },
      ThrowsMessage<McException>(HasSubstr("a.dat")));
}

TEST(ComponentAt, AnyCallMayBeTheLast) {
  const auto mask = maskOf(spiral(34, 5), {32, 8, 32});
  // Each part of the work asks on the calling thread then.
  const tbb::global_control control(tbb::global_control::max_allowed_parallelism, 1);
  const std::size_t payloads = payloadStatistics().payloadsInUse;
  AskedOften asked;
  EXPECT_TRUE(
      componentAt(mask->snapshot(), Neighbours::Faces, {0, 0, 0}, [&](double fraction) { return asked(fraction); }));
  const std::vector<double>& fractions = asked.fractions;
  ASSERT_GT(fractions.size(), 8u);
  EXPECT_LE(fractions.back(), 1.0);
  EXPECT_TRUE(std::is_sorted(fractions.begin(), fractions.end()));
  for (std::size_t last = 0; last < fractions.size(); last += 1 + last / 4) {
    AskedOften giveUp;
    giveUp.last = last;
    EXPECT_FALSE(
        componentAt(mask->snapshot(), Neighbours::Faces, {0, 0, 0}, [&](double fraction) { return giveUp(fraction); }));
    EXPECT_EQ(giveUp.fractions.size(), last + 1);
  }
  EXPECT_THAT(
      [&] {
        componentAt(mask->snapshot(), Neighbours::Faces, {0, 0, 0},
                    [](double) -> bool { throw std::runtime_error("no more"); });
      },
      ThrowsMessage<std::runtime_error>(HasSubstr("no more")));
  EXPECT_EQ(payloadStatistics().payloadsInUse, payloads);
}

}  // namespace
