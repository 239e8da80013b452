#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <thread>

#include "quarn/base/McException.h"
#include "quarn/voxora/files/MemoryFileSystem.h"
#include "quarn/voxora/tiles/MemoryBudget.h"
#include "quarn/voxora/tiles/MemoryReservation.h"
#include "tests/voxora/nodes/maskSupport.h"
#include "tests/voxora/tiles/budgetScopes.h"
#include "tests/voxora/tiles/tileRows.h"

namespace {

using ::testing::HasSubstr;
using ::testing::ThrowsMessage;

using hxvoxora::CacheStatistics;
using hxvoxora::cacheStatistics;
using hxvoxora::MemoryFileSystem;
using hxvoxora::MemoryReservation;
using hxvoxora::payloadStatistics;
using hxvoxora::TilePayload;
using hxvoxora::TileSnapshot;

TEST(MemoryBudget, IsAQuarterOfTheMachineUnlessItIsSet) {
  EXPECT_EQ(hxvoxora::memoryBudget(), hxvoxora::defaultMemoryBudget());
  EXPECT_GT(hxvoxora::defaultMemoryBudget(), std::size_t{16} << 20);
  {
    const BudgetScope budget(12345678);
    EXPECT_EQ(hxvoxora::memoryBudget(), 12345678u);
  }
  EXPECT_EQ(hxvoxora::memoryBudget(), hxvoxora::defaultMemoryBudget());
}

TEST(MemoryBudget, TilesUsedLongestAgoLeaveFirst) {
  MemoryFileSystem files;
  const auto mask = storedRow(files, 12);
  const BudgetScope budget(payloadStatistics().bytesInUse + 8 * tileBytes);
  const TileSnapshot content = mask->snapshot();
  for (int tile = 0; tile < 7; ++tile) EXPECT_TRUE(isLoadedBy(content, tile));
  EXPECT_FALSE(isLoadedBy(content, 0));
  EXPECT_FALSE(isLoadedBy(content, 2));
  for (int tile = 7; tile < 10; ++tile) EXPECT_TRUE(isLoadedBy(content, tile));
  // Room was made for two or three: 1, 3 and perhaps 4 have gone.
  EXPECT_FALSE(isLoadedBy(content, 0));
  EXPECT_FALSE(isLoadedBy(content, 2));
  EXPECT_FALSE(isLoadedBy(content, 6));
  EXPECT_TRUE(isLoadedBy(content, 1));
  EXPECT_TRUE(isLoadedBy(content, 3));
}

TEST(MemoryBudget, StoredTilesNeverExceedIt) {
  MemoryFileSystem files;
  const auto mask = storedRow(files, 30);
  const std::size_t limit = payloadStatistics().bytesInUse + 8 * tileBytes;
  const BudgetScope budget(limit);
  const TileSnapshot content = mask->snapshot();
  const CacheStatistics before = cacheStatistics();
  for (int round = 0; round < 3; ++round) {
    for (std::int64_t tile = 0; tile < 30; ++tile) {
      ASSERT_EQ(countIn(content, tile), voxelsIn(tile));
      ASSERT_LE(payloadStatistics().bytesInUse, limit);
    }
  }
  const CacheStatistics after = cacheStatistics();
  EXPECT_EQ(after.loads - before.loads, 90u);
  EXPECT_GE(after.evictions - before.evictions, 82u);
  EXPECT_EQ(after.spills, before.spills);
}

TEST(MemoryBudget, PinnedTilesStay) {
  MemoryFileSystem files;
  const auto mask = storedRow(files, 30);
  const std::size_t before = payloadStatistics().bytesInUse;
  const BudgetScope budget(before + 4 * tileBytes);
  const TileSnapshot content = mask->snapshot();
  std::vector<Ref<const TilePayload>> pinned;
  for (std::int64_t tile = 0; tile < 20; ++tile) pinned.push_back(content.payload(tile));
  EXPECT_EQ(payloadStatistics().bytesInUse, before + 20 * tileBytes);
  for (std::int64_t tile = 0; tile < 20; ++tile) EXPECT_FALSE(isLoadedBy(content, tile));
  expectRow(content);
  EXPECT_LE(payloadStatistics().bytesInUse, before + 21 * tileBytes);
  pinned.clear();
  EXPECT_TRUE(isLoadedBy(content, 29) || isLoadedBy(content, 28));
  EXPECT_LE(payloadStatistics().bytesInUse, before + 4 * tileBytes);
}

TEST(MemoryBudget, LoweringItCountsAtOnce) {
  MemoryFileSystem files;
  const auto mask = storedRow(files, 30);
  const std::size_t before = payloadStatistics().bytesInUse;
  expectRow(mask->snapshot());
  EXPECT_EQ(payloadStatistics().bytesInUse, before + 30 * tileBytes);
  const BudgetScope budget(before + 10 * tileBytes);
  EXPECT_LE(payloadStatistics().bytesInUse, before + 10 * tileBytes);
}

TEST(MemoryBudget, TilesThatTwoCellsShareLeaveToo) {
  MemoryFileSystem files;
  const SpillScope place(files);
  const std::size_t before = payloadStatistics().bytesInUse;
  const auto mask = makeRow(files, 30);
  const TileSnapshot unsaved = mask->snapshot();
  mask->saveEditing("row.ldm", false, {});
  EXPECT_EQ(payloadStatistics().bytesInUse, before + 30 * tileBytes);
  const BudgetScope budget(before + 4 * tileBytes);
  EXPECT_LE(payloadStatistics().bytesInUse, before + 4 * tileBytes);
  expectRow(unsaved);
  expectRow(mask->snapshot());
}

TEST(MemoryBudget, BuffersThatDoNotFitAreRefusedWithTheSizes) {
  constexpr std::size_t mebi = std::size_t{1} << 20;
  const std::size_t others = cacheStatistics().bytesInBuffers;
  const BudgetScope budget(others + 8 * mebi);
  const auto first = hxvoxora::makeRef<SoCpuBufferObject>(5 * mebi);
  EXPECT_EQ(cacheStatistics().bytesInBuffers, others + 5 * mebi);
  const auto bits = hxvoxora::makeRef<SoCpuBufferBitSet>();
  const std::string sizes = "A buffer needs 4194304 bytes; the memory budget is " + std::to_string(others + 8 * mebi) +
                            " bytes, " + std::to_string(others + 5 * mebi) + " of them in use by other buffers.";
  EXPECT_THAT([&] { bits->setSize(4 * mebi * 8); }, ThrowsMessage<McException>(sizes));
  EXPECT_EQ(bits->getSize(), 0u);
  EXPECT_EQ(bits->getByteSize(), 0u);
  EXPECT_NO_THROW(bits->setSize(3 * mebi * 8));
  EXPECT_THAT([&] { bits->setSize(std::size_t{1} << 62); }, ThrowsMessage<McException>(HasSubstr(" bytes, ")));
  EXPECT_NO_THROW(bits->setSize(3 * mebi * 8));
  bits->setSize(0);
  EXPECT_EQ(cacheStatistics().bytesInBuffers, others + 5 * mebi);
}

TEST(MemoryBudget, SmallBuffersAreNeverRefused) {
  const BudgetScope budget(1);
  std::vector<Ref<SoCpuBufferObject>> buffers;
  for (int i = 0; i < 20; ++i)
    buffers.push_back(hxvoxora::makeRef<SoCpuBufferObject>(MemoryReservation::alwaysGranted - 1));
  EXPECT_THROW(hxvoxora::makeRef<SoCpuBufferObject>(MemoryReservation::alwaysGranted), McException);
}

TEST(MemoryBudget, TilesMakeRoomForBuffers) {
  MemoryFileSystem files;
  const auto mask = storedRow(files, 512);
  const std::size_t others = payloadStatistics().bytesInUse + cacheStatistics().bytesInBuffers;
  const BudgetScope budget(others + 512 * tileBytes);
  mask->countSetVoxels(wholeBox(*mask));
  EXPECT_GT(payloadStatistics().bytesInUse, others + 400 * tileBytes);
  const auto buffer = hxvoxora::makeRef<SoCpuBufferObject>(256 * tileBytes);
  EXPECT_LE(payloadStatistics().bytesInUse + cacheStatistics().bytesInBuffers, others + 512 * tileBytes);
  EXPECT_EQ(fetched(*mask, {{0, 0, 0}, {0, 0, 0}}), std::vector<std::byte>{std::byte{0x80}});
}

TEST(MemoryBudget, HitsAreCountedByAllThreads) {
  MemoryFileSystem files;
  const auto mask = storedRow(files, 3);
  const TileSnapshot content = mask->snapshot();
  const auto look = [&] {
    for (int i = 0; i < 100; ++i) content.payload(1);
  };
  look();
  const CacheStatistics before = cacheStatistics();
  std::thread other(look);
  other.join();
  look();
  EXPECT_EQ(cacheStatistics().hits, before.hits + 200);
  EXPECT_EQ(cacheStatistics().loads, before.loads);
}

}  // namespace
