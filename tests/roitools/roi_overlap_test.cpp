#include <algorithm>
#include <cstdlib>
#include <gtest/gtest.h>
#include <random>
#include <thread>

#include "quarn/base/McException.h"
#include "quarn/voxora/nodes/SoCpuBufferBitSet.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"
#include "roitools/RoiOverlap.h"

namespace {

using hxvoxora::TileSnapshot;
using roitools::countOverlaps;
using roitools::OverlapCounts;
using roitools::OverlapInput;

using Bits = std::vector<bool>;

std::mt19937 seededRandom() {
  const char* given = std::getenv("QUARN_TEST_SEED");
  const auto seed = given ? static_cast<std::uint32_t>(std::strtoul(given, nullptr, 10)) : std::random_device()();
  ::testing::Test::RecordProperty("seed", std::to_string(seed));
  std::printf("QUARN_TEST_SEED=%u\n", seed);
  return std::mt19937(seed);
}

int below(int end, std::mt19937& random) {
  return std::uniform_int_distribution<int>(0, end - 1)(random);
}

SbBox3i32 randomBox(const SbVec3i32& n, std::mt19937& random) {
  SbVec3i32 low, high;
  for (int axis = 0; axis < 3; ++axis) {
    low[axis] = below(n[axis], random);
    high[axis] = low[axis] + below(n[axis] - low[axis], random);
  }
  return {low, high};
}

/// Boxes set and cleared, so that there are full, empty and mixed tiles.
TileSnapshot randomVolume(const SbVec3i32& n, const SbVec3i32& tile, std::mt19937& random) {
  const auto volume = hxvoxora::makeRef<SoVolumeMask>();
  volume->initializeInMemory(n, tile);
  const int transaction = volume->beginTransaction();
  for (int i = below(5, random); i > 0; --i) volume->fillBox(randomBox(n, random), below(4, random) == 0 ? 0 : 1);
  volume->endTransaction(transaction);
  return volume->snapshot();
}

Bits bitsOf(const TileSnapshot& content) {
  const SbBox3i32 whole = content.grid().box();
  const std::size_t count = static_cast<std::size_t>(whole.size(0) * whole.size(1) * whole.size(2));
  std::vector<std::uint8_t> packed(count / 8 + 1);
  content.fetch(whole, packed.data());
  Bits bits(count);
  for (std::size_t i = 0; i < count; ++i) bits[i] = (packed[i / 8] >> (7 - i % 8) & 1) != 0;
  return bits;
}

/// Voxel by voxel.
void expectCounts(const OverlapCounts& counts, const OverlapInput& input) {
  std::vector<Bits> bits;
  for (const TileSnapshot& content : input.rois) bits.push_back(bitsOf(content));
  ASSERT_EQ(counts.rois(), bits.size());
  for (std::size_t a = 0; a < bits.size(); ++a) {
    ASSERT_EQ(counts.voxels(a), static_cast<std::uint64_t>(std::count(bits[a].begin(), bits[a].end(), true))) << a;
    for (std::size_t b = a + 1; b < bits.size(); ++b) {
      std::uint64_t shared = 0;
      const bool wanted = input.firstOfOther == 0 || (a < input.firstOfOther && b >= input.firstOfOther);
      for (std::size_t i = 0; wanted && i < bits[a].size(); ++i) shared += bits[a][i] && bits[b][i];
      ASSERT_EQ(counts.shared(a, b), shared) << a << " and " << b;
      ASSERT_EQ(counts.shared(b, a), shared);
    }
  }
}

TEST(RoiOverlap, CountsAsVoxelByVoxel) {
  std::mt19937 random = seededRandom();
  const SbVec3i32 tiles[] = {{32, 32, 32}, {64, 64, 64}, {32, 8, 8}, {128, 128, 128}};
  for (const SbVec3i32& tile : tiles) {
    for (const SbVec3i32& n : {SbVec3i32(100, 70, 40), SbVec3i32(13, 11, 7), SbVec3i32(65, 1, 129)}) {
      OverlapInput input;
      for (int roi = 0; roi < 12; ++roi) input.rois.push_back(randomVolume(n, tile, random));
      const auto counts = countOverlaps(input, {});
      ASSERT_TRUE(counts);
      expectCounts(*counts, input);
      input.firstOfOther = 5;
      expectCounts(*countOverlaps(input, {}), input);
    }
  }
}

TEST(RoiOverlap, CountsNoise) {
  std::mt19937 random = seededRandom();
  const SbVec3i32 n(70, 66, 40);
  const SbBox3i32 whole(SbVec3i32(0, 0, 0), SbVec3i32(69, 65, 39));
  OverlapInput input;
  for (int roi = 0; roi < 4; ++roi) {
    const auto volume = hxvoxora::makeRef<SoVolumeMask>();
    volume->initializeInMemory(n, {32, 32, 32});
    const auto buffer = hxvoxora::makeRef<SoCpuBufferBitSet>();
    buffer->setSize(70 * 66 * 40);
    auto* bytes = static_cast<std::uint8_t*>(buffer->map(SoCpuBufferObject::READ_WRITE));
    for (int i = 0; i < 70 * 66 * 40 / 8; ++i) bytes[i] = static_cast<std::uint8_t>(random() & random());
    buffer->unmap();
    const int transaction = volume->beginTransaction();
    volume->replaceBox(whole, buffer.get());
    volume->endTransaction(transaction);
    input.rois.push_back(volume->snapshot());
  }
  expectCounts(*countOverlaps(input, {}), input);
}

TEST(RoiOverlap, TilesMayDiffer) {
  std::mt19937 random = seededRandom();
  const SbVec3i32 n(100, 70, 40);
  OverlapInput input;
  for (int i = 0; i < 3; ++i) {
    for (const SbVec3i32& tile : {SbVec3i32(64, 64, 64), SbVec3i32(32, 16, 64), SbVec3i32(64, 32, 32)})
      input.rois.push_back(randomVolume(n, tile, random));
  }
  expectCounts(*countOverlaps(input, {}), input);
}

TEST(RoiOverlap, VolumesWithoutVoxelsShareNothing) {
  const auto full = hxvoxora::makeRef<SoVolumeMask>();
  full->initializeInMemory({40, 40, 40}, {32, 32, 32});
  const int transaction = full->beginTransaction();
  full->fillBox(SbBox3i32(SbVec3i32(0, 0, 0), SbVec3i32(39, 39, 39)), 1);
  full->endTransaction(transaction);
  const auto counts = countOverlaps({{TileSnapshot(), full->snapshot(), TileSnapshot(), full->snapshot()}, 0}, {});
  ASSERT_TRUE(counts);
  EXPECT_EQ(counts->voxels(0), 0U);
  EXPECT_EQ(counts->voxels(1), 64000U);
  EXPECT_EQ(counts->shared(0, 1), 0U);
  EXPECT_EQ(counts->shared(1, 3), 64000U);
  EXPECT_EQ(countOverlaps({}, {})->rois(), 0U);
}

TEST(RoiOverlap, OtherGridsAreRefused) {
  std::mt19937 random = seededRandom();
  const OverlapInput input{
      {randomVolume({10, 10, 10}, {32, 8, 8}, random), randomVolume({10, 10, 11}, {32, 8, 8}, random)}, 0};
  try {
    countOverlaps(input, {});
    FAIL() << "two grids were taken";
  } catch (const McException& refusal) {
    EXPECT_STREQ(refusal.what(),
                 "Overlaps can only be counted on one grid, not on 10 x 10 x 10 and 10 x 10 x 11 voxels.");
  }
}

TEST(RoiOverlap, TellsItsProgressToTheCaller) {
  std::mt19937 random = seededRandom();
  OverlapInput input;
  for (int roi = 0; roi < 3; ++roi) input.rois.push_back(randomVolume({200, 100, 100}, {32, 32, 32}, random));
  const auto caller = std::this_thread::get_id();
  std::vector<double> fractions;
  const auto counts = countOverlaps(input, [&](double fraction) {
    EXPECT_EQ(std::this_thread::get_id(), caller);
    fractions.push_back(fraction);
    return true;
  });
  EXPECT_TRUE(counts);
  ASSERT_GT(fractions.size(), 1U);
  EXPECT_TRUE(std::is_sorted(fractions.begin(), fractions.end()));
  EXPECT_EQ(fractions.front(), 0);
  EXPECT_LE(fractions.back(), 1);
}

TEST(RoiOverlap, GivesUpWhenTold) {
  std::mt19937 random = seededRandom();
  OverlapInput input;
  for (int roi = 0; roi < 3; ++roi) input.rois.push_back(randomVolume({200, 100, 100}, {32, 32, 32}, random));
  for (const int allowed : {0, 1, 3}) {
    int calls = 0;
    EXPECT_FALSE(countOverlaps(input, [&](double) { return calls++ < allowed; })) << allowed;
    EXPECT_EQ(calls, allowed + 1);
  }
}

}  // namespace
