#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <malloc.h>
#include <stdexcept>
#include <tbb/global_control.h>

#include "quarn/base/McException.h"
#include "quarn/voxora/bits/InstructionSet.h"
#include "quarn/voxora/components/findComponents.h"
#include "quarn/voxora/files/MemoryFileSystem.h"
#include "tests/support/stride.h"
#include "tests/voxora/components/AskedOften.h"
#include "tests/voxora/components/componentShapes.h"
#include "tests/voxora/tiles/budgetScopes.h"

namespace {

using hxvoxora::Component;
using hxvoxora::findComponents;
using hxvoxora::InstructionSet;
using hxvoxora::MemoryFileSystem;
using hxvoxora::Neighbours;
using hxvoxora::payloadStatistics;
using hxvoxora::TileSnapshot;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::ThrowsMessage;

constexpr Neighbours bothKinds[] = {Neighbours::Faces, Neighbours::All};

/// In the order in which they come.
std::vector<Component> handedOver(const TileSnapshot& volume, Neighbours neighbours) {
  std::vector<Component> components;
  EXPECT_TRUE(findComponents(volume, neighbours, [&](const Component& component) { components.push_back(component); }));
  return components;
}

std::vector<Component> found(const TileSnapshot& volume, Neighbours neighbours) {
  std::vector<Component> components = handedOver(volume, neighbours);
  sortByFirstVoxel(components);
  return components;
}

void expectPlainComponents(const Shape& shape) {
  const auto mask = maskOf(shape.voxels, shape.tile);
  for (const Neighbours neighbours : bothKinds)
    ASSERT_EQ(found(mask->snapshot(), neighbours), PlainComponents(shape.voxels, neighbours).all())
        << describe(shape, neighbours);
}

std::size_t countIn(const SoVolumeMask& mask, Neighbours neighbours) {
  return handedOver(mask.snapshot(), neighbours).size();
}

TEST(FindComponents, AgreesWithPlainCodeOnRandomVolumes) {
  RandomSource random;
  for (int round = 0; round < testRounds(60) && !::testing::Test::HasFatalFailure(); ++round)
    expectPlainComponents(randomShape(random));
}

TEST(FindComponents, AgreesWithPlainCodeOnDifficultShapes) {
  for (const Shape& shape : difficultShapes()) expectPlainComponents(shape);
}

TEST(FindComponents, AgreesWithPlainCodeInTilesOfAllSizes) {
  RandomSource random;
  for (const int edge : {32, 64, 128, 256}) {
    for (const double density : {0.05, 0.2, 0.35, 0.6}) {
      const DenseMask voxels = noiseOf(random, {130, 70, 66}, density);
      expectPlainComponents({"noise", voxels, {edge, edge, edge}});
    }
  }
}

TEST(FindComponents, AgreesWithPlainCodeOnRunsOfFullTiles) {
  RandomSource random;
  for (int round = 0; round < testRounds(60) && !::testing::Test::HasFatalFailure(); ++round)
    expectPlainComponents(shapeOfTiles(random));
}

TEST(FindComponents, TouchingByFaceEdgeAndCorner) {
  const auto pair = [](const SbVec3i32& second) {
    const auto mask = makeMask({64, 16, 16});
    fill(*mask, {{31, 7, 7}, {31, 7, 7}}, true);
    fill(*mask, {second, second}, true);
    return mask;
  };
  for (int z = 6; z <= 8; ++z) {
    for (int y = 6; y <= 8; ++y) {
      for (int x = 30; x <= 32; ++x) {
        const int distance = std::abs(x - 31) + std::abs(y - 7) + std::abs(z - 7);
        if (distance == 0) continue;
        EXPECT_EQ(countIn(*pair({x, y, z}), Neighbours::Faces), distance == 1 ? 1u : 2u) << x << y << z;
        EXPECT_EQ(countIn(*pair({x, y, z}), Neighbours::All), 1u) << x << y << z;
      }
    }
  }
  EXPECT_EQ(countIn(*pair({33, 7, 7}), Neighbours::All), 2u);
  EXPECT_EQ(countIn(*pair({31, 9, 9}), Neighbours::All), 2u);
}

TEST(FindComponents, TellsCountBoxAndFirstVoxel) {
  const auto mask = makeMask({100, 30, 30});
  fill(*mask, {{40, 10, 3}, {70, 12, 3}}, true);
  fill(*mask, {{20, 12, 4}, {45, 12, 5}}, true);
  EXPECT_THAT(found(mask->snapshot(), Neighbours::Faces),
              ElementsAre(Component{{40, 10, 3}, 31 * 3 + 26 * 2, {{20, 10, 3}, {70, 12, 5}}}));
}

TEST(FindComponents, NothingInVolumesWithoutSetVoxels) {
  EXPECT_THAT(handedOver(TileSnapshot(), Neighbours::Faces), IsEmpty());
  EXPECT_THAT(handedOver(makeMask({4096, 4096, 4096})->snapshot(), Neighbours::All), IsEmpty());
}

TEST(FindComponents, VolumesThatAreSetByDefault) {
  const auto mask = makeMask({100, 50, 50});
  mask->setDefaultValue(true);
  EXPECT_THAT(handedOver(mask->snapshot(), Neighbours::Faces),
              ElementsAre(Component{{0, 0, 0}, 250000, wholeBox(*mask)}));
  fill(*mask, {{50, 0, 0}, {50, 49, 49}}, false);
  EXPECT_EQ(countIn(*mask, Neighbours::All), 2u);
}

TEST(FindComponents, HugeGridsCostWhatTheirBodiesCost) {
  const auto mask = makeMask({4096, 4096, 4096}, {64, 64, 64});
  const SbBox3i32 low({100, 100, 100}, {200, 150, 120}), high({3990, 4000, 4090}, {4095, 4095, 4095});
  fill(*mask, low, true);
  fill(*mask, high, true);
  std::vector<Component> components;
  AskedOften asked;
  EXPECT_TRUE(findComponents(
      mask->snapshot(), Neighbours::All, [&](const Component& component) { components.push_back(component); },
      [&](double fraction) { return asked(fraction); }));
  EXPECT_THAT(components, ElementsAre(Component{{100, 100, 100}, 101 * 51 * 21, low},
                                      Component{{3990, 4000, 4090}, 106 * 96 * 6, high}));
  EXPECT_EQ(asked.fractions.size(), 1u + 6u + 4u);  // their tiles
}

TEST(FindComponents, FullTilesAreCountedTogether) {
  const SbVec3i32 large(16384, 16384, 16384), largest(1 << 19, 1 << 16, 1 << 16);
  for (const auto& [size, tile] : {std::pair(large, SbVec3i32(64, 64, 64)), std::pair(largest, SbVec3i32(32, 8, 8))}) {
    const auto mask = makeMask(size, tile);
    mask->setDefaultValue(true);
    const SbBox3i32 box = wholeBox(*mask);
    const auto all = static_cast<std::uint64_t>(box.size(0) * box.size(1) * box.size(2));
    EXPECT_THAT(handedOver(mask->snapshot(), Neighbours::Faces), ElementsAre(Component{{0, 0, 0}, all, box}));
    fill(*mask, {{8000, 8000, 8000}, {8009, 8009, 8009}}, false);
    EXPECT_THAT(handedOver(mask->snapshot(), Neighbours::All), ElementsAre(Component{{0, 0, 0}, all - 1000, box}));
  }
}

TEST(FindComponents, ThreadsDoNotChangeTheOrder) {
  RandomSource random;
  const auto mask = maskOf(noiseOf(random, {200, 100, 70}, 0.25), {32, 32, 32});
  std::vector<std::vector<Component>> results;
  for (const std::size_t threads : {1u, 2u, 4u}) {
    const tbb::global_control control(tbb::global_control::max_allowed_parallelism, threads);
    results.push_back(handedOver(mask->snapshot(), Neighbours::Faces));
  }
  EXPECT_EQ(results[0], results[1]);
  EXPECT_EQ(results[0], results[2]);
}

TEST(FindComponents, TilesLeaveMemoryMeanwhile) {
  RandomSource random;
  MemoryFileSystem files;
  const DenseMask voxels = noiseOf(random, {150, 60, 60}, 0.3);
  {
    const auto mask = hxvoxora::makeRef<SoVolumeMask>(files);
    mask->initializeInMemory(voxels.dimensions(), {64, 16, 8});
    replace(*mask, voxels.box(), voxels);
    mask->saveEditing("a.ldm", false, {"-c", "gzip"});
  }
  const auto mask = hxvoxora::makeRef<SoVolumeMask>(files);
  mask->bindTo("a.ldm");
  const BudgetScope budget(payloadStatistics().bytesInUse + (std::size_t{8} << 10));
  const auto before = hxvoxora::cacheStatistics();
  EXPECT_EQ(found(mask->snapshot(), Neighbours::Faces), PlainComponents(voxels, Neighbours::Faces).all());
  EXPECT_GT(hxvoxora::cacheStatistics().evictions, before.evictions);
}

TEST(FindComponents, DamagedTilesAreAnError) {
  MemoryFileSystem files;
  RandomSource random;
  const auto mask = hxvoxora::makeRef<SoVolumeMask>(files);
  const DenseMask voxels = noiseOf(random, {150, 60, 60}, 0.3);
  mask->initializeInMemory(voxels.dimensions(), {32, 8, 8});
  replace(*mask, voxels.box(), voxels);
  mask->saveEditing("a.ldm", false, {});
  const auto stored = hxvoxora::makeRef<SoVolumeMask>(files);
  MemoryFileSystem::Bytes bytes = files.content("a.dat");
  bytes.at(bytes.size() / 2) ^= std::byte{1};
  files.remove("a.dat");
  files.setContent("a.dat", bytes);
  stored->bindTo("a.ldm");
  EXPECT_THAT([&] { handedOver(stored->snapshot(), Neighbours::All); }, ThrowsMessage<McException>(HasSubstr("a.dat")));
}

TEST(FindComponents, FractionsGrowAndAnyOfThemMayBeTheLast) {
  RandomSource random;
  const auto mask = maskOf(noiseOf(random, {128, 16, 16}, 0.2), {32, 16, 16});
  const std::size_t payloads = payloadStatistics().payloadsInUse;
  AskedOften asked;
  std::vector<Component> all;
  EXPECT_TRUE(findComponents(
      mask->snapshot(), Neighbours::Faces, [&](const Component& component) { all.push_back(component); },
      [&](double fraction) { return asked(fraction); }));
  const std::vector<double>& fractions = asked.fractions;
  ASSERT_GT(fractions.size(), 4u);
  EXPECT_TRUE(std::is_sorted(fractions.begin(), fractions.end()));
  EXPECT_GE(fractions.front(), 0.0);
  EXPECT_LE(fractions.back(), 1.0);
  for (std::size_t last = 0; last < fractions.size(); ++last) {
    AskedOften giveUp;
    giveUp.last = last;
    std::vector<Component> some;
    EXPECT_FALSE(findComponents(
        mask->snapshot(), Neighbours::Faces, [&](const Component& component) { some.push_back(component); },
        [&](double fraction) { return giveUp(fraction); }));
    EXPECT_EQ(giveUp.fractions.size(), last + 1);
    // The order is always the same.
    ASSERT_LT(some.size(), all.size());
    EXPECT_TRUE(std::equal(some.begin(), some.end(), all.begin()));
  }
  EXPECT_EQ(payloadStatistics().payloadsInUse, payloads);
}

TEST(FindComponents, WhatCallbacksThrowPassesThrough) {
  RandomSource random;
  const auto mask = maskOf(noiseOf(random, {200, 64, 64}, 0.2), {32, 16, 16});
  int calls = 0;
  const auto sink = [&](const Component&) {
    if (++calls == 1000) throw std::runtime_error("enough");
  };
  EXPECT_THAT([&] { findComponents(mask->snapshot(), Neighbours::Faces, sink); },
              ThrowsMessage<std::runtime_error>(HasSubstr("enough")));
  EXPECT_EQ(calls, 1000);
  const auto callback = [](double) -> bool { throw std::runtime_error("no more"); };
  EXPECT_THAT(
      [&] {
        findComponents(
            mask->snapshot(), Neighbours::Faces, [](const Component&) {}, callback);
      },
      ThrowsMessage<std::runtime_error>(HasSubstr("no more")));
}

TEST(FindComponents, AllInstructionSetsFindTheSame) {
  RandomSource random;
  const auto mask = maskOf(noiseOf(random, {150, 70, 70}, 0.3), {64, 64, 64});
  const InstructionSet before = hxvoxora::instructionSet();
  for (const Neighbours neighbours : bothKinds) {
    std::vector<std::vector<Component>> results;
    for (const InstructionSet set : {InstructionSet::Scalar, before}) {
      hxvoxora::setInstructionSet(set);
      results.push_back(handedOver(mask->snapshot(), neighbours));
    }
    EXPECT_EQ(results.front(), results.back());
  }
}

/// Noise, drawn word by word: every voxel set with probability 3/16.
Ref<SoVolumeMask> largeNoise(RandomSource& random, const SbVec3i32& size, const SbVec3i32& tile) {
  const auto buffer = hxvoxora::makeRef<SoCpuBufferBitSet>();
  const auto words = static_cast<std::size_t>(std::int64_t{size[0]} * size[1] * size[2] / 64);
  buffer->setSize(64 * words);
  auto* bits = static_cast<std::uint64_t*>(buffer->map(SoCpuBufferObject::READ_WRITE));
  std::generate(bits, bits + words, [&] { return random.word() & random.word() & (random.word() | random.word()); });
  buffer->unmap();
  auto mask = makeMask(size, tile);
  inTransaction(*mask, [&] { mask->replaceBox(wholeBox(*mask), buffer.get()); });
  return mask;
}

/// Bytes that are allocated in the process now, those of the buffers of tiles aside.
std::size_t allocatedBytes() {
  const struct mallinfo2 heap = ::mallinfo2();
  return heap.uordblks + heap.hblkhd;
}

/// With several threads each has a block at hand besides, which takes the same on volumes of any size.
TEST(FindComponents, NoiseTakesATenthOfAByteImageAtMost) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  GTEST_SKIP() << "the sanitizer has an allocator of its own";
#endif
  RandomSource random;
  const tbb::global_control control(tbb::global_control::max_allowed_parallelism, 1);
  const SbVec3i32 size(256, 256, 256);
  for (const int edge : {32, 64}) {
    const TileSnapshot volume = largeNoise(random, size, {edge, edge, edge})->snapshot();
    const std::size_t before = allocatedBytes();
    std::size_t most = before, count = 0;
    EXPECT_TRUE(findComponents(volume, Neighbours::Faces, [&](const Component&) {
      if (count++ % 1000 == 0) most = std::max(most, allocatedBytes());
    }));
    EXPECT_GT(count, std::size_t{1000000});
    EXPECT_LT(most - before, std::size_t{256 * 256 * 256} / 10) << edge;
  }
}

}  // namespace
