#include <chrono>
#include <fstream>
#include <gtest/gtest.h>

#include "tests/voxora/nodes/maskSupport.h"

namespace {

using hxvoxora::PayloadStatistics;
using hxvoxora::payloadStatistics;
using hxvoxora::TileSnapshot;
using hxvoxora::TruthTable;

const SbVec3i32 huge(4096, 4096, 4096), cube(64, 64, 64);

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool ownAllocator = true;
#else
constexpr bool ownAllocator = false;
#endif

/// Bytes of the process that are in memory now.
std::size_t residentBytes() {
  std::ifstream statm("/proc/self/statm");
  std::size_t total = 0, resident = 0;
  statm >> total >> resident;
  return resident * 4096;
}

TEST(SoVolumeMaskMemory, HundredEmptyMasksOfAnySizeCostNextToNothing) {
  const std::size_t before = residentBytes();
  const auto start = std::chrono::steady_clock::now();
  std::vector<Ref<SoVolumeMask>> masks;
  for (int i = 0; i < 100; ++i) masks.push_back(makeMask(huge, cube));
  const auto taken = std::chrono::steady_clock::now() - start;
  EXPECT_LT(residentBytes() - before, std::size_t{64} << 20);
  EXPECT_LT(taken, std::chrono::milliseconds(100));
  EXPECT_EQ(masks.back()->dataDimension(), huge);
}

TEST(SoVolumeMaskMemory, BoxesOfConstantTilesCostNoTable) {
  if (ownAllocator) GTEST_SKIP() << "the sanitizer keeps freed memory";
  const std::size_t before = residentBytes();
  std::vector<Ref<SoVolumeMask>> masks;
  for (int i = 0; i < 40; ++i) {
    masks.push_back(makeMask(huge, cube));
    fill(*masks.back(), {{0, 0, 0}, {4095, 4095, 2047}}, true);  // 131,072 tiles
  }
  EXPECT_LT(residentBytes() - before, std::size_t{8} << 20);
}

TEST(SoVolumeMaskMemory, ConstantsNeverAllocatePayloads) {
  const auto full = makeMask(huge, cube), half = makeMask(huge, cube), empty = makeMask(huge, cube);
  const PayloadStatistics before = payloadStatistics();
  const SbBox3i32 lower({0, 0, 0}, {4095, 4095, 2047});
  fill(*full, wholeBox(*full), true);
  fill(*half, lower, true);
  const auto combined = [&](const SoVolumeMask& other, TruthTable f) {
    const auto result = makeMask(huge, cube);
    inTransaction(*result, [&] {
      result->combineBox(wholeBox(*result), *half, TruthTable::CopyB);
      result->combineBox(wholeBox(*result), other, f);
    });
    return result->countSetVoxels(wholeBox(*result));
  };
  constexpr std::uint64_t halfCount = std::uint64_t{1} << 35;
  EXPECT_EQ(combined(*full, TruthTable::And), halfCount);
  EXPECT_EQ(combined(*full, TruthTable::Or), 2 * halfCount);
  EXPECT_EQ(combined(*full, TruthTable::Xor), halfCount);
  EXPECT_EQ(combined(*half, TruthTable::AndNot), 0u);
  EXPECT_EQ(combined(*empty, TruthTable::NotA), halfCount);
  EXPECT_EQ(half->computeBoundingBox(wholeBox(*half)), lower);
  EXPECT_EQ(payloadStatistics().payloadsHandedOut, before.payloadsHandedOut);
}

/// A mask of 64 x 8 x 8 voxels, two tiles, both with bits.
Ref<SoVolumeMask> mixedMask() {
  const auto mask = makeMask({64, 8, 8});
  fill(*mask, {{20, 2, 2}, {44, 5, 5}}, true);
  return mask;
}

TEST(SoVolumeMaskMemory, SettledTilesAreSharedNotCopied) {
  const auto mask = mixedMask(), zero = makeMask({64, 8, 8}), one = makeMask({64, 8, 8});
  fill(*one, wholeBox(*one), true);
  struct Case {
    const SoVolumeMask& a;
    const SoVolumeMask& b;
    TruthTable f;
  };
  const Case cases[] = {
      {*mask, *zero, TruthTable::Or},     {*mask, *one, TruthTable::And},   {*mask, *zero, TruthTable::Xor},
      {*mask, *zero, TruthTable::AndNot}, {*zero, *mask, TruthTable::Or},   {*one, *mask, TruthTable::And},
      {*zero, *mask, TruthTable::Xor},    {*one, *mask, TruthTable::CopyB}, {*mask, *mask, TruthTable::Or},
      {*mask, *mask, TruthTable::And},    {*mask, *one, TruthTable::CopyA}};
  for (const Case& c : cases) {
    const auto result = makeMask({64, 8, 8});
    inTransaction(*result, [&] { result->combineBox(wholeBox(*result), c.a, TruthTable::CopyB); });
    const PayloadStatistics before = payloadStatistics();
    inTransaction(*result, [&] { result->combineBox(wholeBox(*result), c.b, c.f); });
    EXPECT_EQ(payloadStatistics().payloadsHandedOut, before.payloadsHandedOut) << static_cast<int>(c.f);
    EXPECT_EQ(result->snapshot().payload(0), mask->snapshot().payload(0)) << static_cast<int>(c.f);
    EXPECT_EQ(result->snapshot().payload(1), mask->snapshot().payload(1)) << static_cast<int>(c.f);
  }
}

TEST(SoVolumeMaskMemory, EditsLeaveOtherTilesShared) {
  const auto mask = mixedMask();
  const TileSnapshot before = mask->snapshot();
  fill(*mask, {{50, 0, 0}, {51, 0, 0}}, true);
  EXPECT_EQ(mask->snapshot().payload(0), before.payload(0));
  EXPECT_FALSE(mask->snapshot().payload(1) == before.payload(1));
}

TEST(SoVolumeMaskMemory, WritingABoxBackUnchangedKeepsItsTiles) {
  const auto mask = mixedMask();
  const TileSnapshot before = mask->snapshot();
  DenseMask same({64, 8, 8});
  same.fill({{20, 2, 2}, {44, 5, 5}}, true);
  replace(*mask, {{3, 0, 0}, {63, 7, 7}}, same);
  EXPECT_EQ(mask->snapshot().payload(0), before.payload(0));
  EXPECT_EQ(mask->snapshot().payload(1), before.payload(1));
  EXPECT_TRUE(mask->hasUnsavedEdits());
}

TEST(SoVolumeMaskMemory, TilesThatBecomeConstantGiveTheirBitsBack) {
  const std::size_t before = payloadStatistics().payloadsInUse;
  const auto mask = mixedMask();
  EXPECT_EQ(payloadStatistics().payloadsInUse, before + 2);
  fill(*mask, {{20, 2, 2}, {44, 5, 5}}, false);
  EXPECT_EQ(payloadStatistics().payloadsInUse, before);
  EXPECT_EQ(mask->snapshot().kind(0), TileSnapshot::Kind::Zero);
}

TEST(SoVolumeMaskMemory, EveryPayloadComesBack) {
  RandomSource random;
  const std::size_t before = payloadStatistics().payloadsInUse;
  {
    const auto mask = makeMask({200, 40, 40});
    std::vector<TileSnapshot> moments;
    for (int i = 0; i < 100; ++i) {
      fill(*mask, randomBoxIn(random, mask->dataDimension()), random.chance(0.5));
      if (i % 10 == 0) moments.push_back(mask->snapshot());
    }
    EXPECT_GT(payloadStatistics().payloadsInUse, before);
  }
  EXPECT_EQ(payloadStatistics().payloadsInUse, before);
}

}  // namespace
