#include <atomic>
#include <cstring>
#include <fstream>
#include <gtest/gtest.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "quarn/voxora/tiles/TilePayload.h"

namespace {

using hxvoxora::payloadStatistics;
using hxvoxora::Ref;
using hxvoxora::TilePayload;

/// The address space of this process.
std::size_t addressSpace() {
  std::ifstream statistics("/proc/self/statm");
  std::size_t pages = 0;
  statistics >> pages;
  return pages * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
}

TEST(TilePayload, EverySizeIsAlignedAndItsOwn) {
  for (std::size_t size = 256; size <= (std::size_t{1} << 21); size *= 2) {
    std::vector<Ref<TilePayload>> payloads;
    for (int i = 0; i < 20; ++i) {
      payloads.push_back(TilePayload::make(size));
      ASSERT_EQ(payloads.back()->byteSize(), size);
      ASSERT_EQ(reinterpret_cast<std::uintptr_t>(payloads.back()->bits()) % 64, 0u);
      std::memset(payloads.back()->bits(), i, size);
    }
    for (int i = 0; i < 20; ++i) {
      ASSERT_EQ(payloads[i]->bits()[0], static_cast<std::byte>(i));
      ASSERT_EQ(payloads[i]->bits()[size - 1], static_cast<std::byte>(i));
    }
  }
}

TEST(TilePayload, BlocksAreUsedAgain) {
  const std::size_t size = std::size_t{1} << 15;
  const std::byte* first = nullptr;
  {
    const Ref<TilePayload> payload = TilePayload::make(size);
    first = payload->bits();
  }
  EXPECT_EQ(TilePayload::make(size)->bits(), first);
}

TEST(TilePayload, MemoryBeyondTheReserveGoesBackToTheSystem) {
  const std::size_t size = std::size_t{1} << 20, before = payloadStatistics().bytesReserved;
  std::vector<Ref<TilePayload>> payloads;
  for (int i = 0; i < 300; ++i) payloads.push_back(TilePayload::make(size));
  EXPECT_GE(payloadStatistics().bytesReserved, 300 * size);
  payloads.clear();
  EXPECT_LE(payloadStatistics().bytesReserved, before + (std::size_t{66} << 20));
}

TEST(TilePayload, TakesNoAddressSpaceBesideItself) {
  constexpr std::size_t size = std::size_t{1} << 21, count = 100;
  const std::size_t slack = std::size_t{8} << 20;
  const std::size_t reserved = payloadStatistics().bytesReserved, before = addressSpace();
  std::vector<Ref<TilePayload>> payloads;
  for (std::size_t i = 0; i < count; ++i) payloads.push_back(TilePayload::make(size));
  const std::size_t added = payloadStatistics().bytesReserved - reserved;
  ASSERT_GT(added, count / 2 * size);
  EXPECT_LE(addressSpace() - before, added + slack);
}

TEST(TilePayload, StatisticsCountWhatIsInUse) {
  const auto before = payloadStatistics();
  const Ref<TilePayload> a = TilePayload::make(512);
  {
    const Ref<TilePayload> b = TilePayload::make(4096);
    EXPECT_EQ(payloadStatistics().payloadsInUse, before.payloadsInUse + 2);
    EXPECT_EQ(payloadStatistics().bytesInUse, before.bytesInUse + 512 + 4096);
  }
  EXPECT_EQ(payloadStatistics().payloadsInUse, before.payloadsInUse + 1);
  EXPECT_EQ(payloadStatistics().payloadsHandedOut, before.payloadsHandedOut + 2);
}

TEST(TilePayload, ThreadsNeverGetTheSameBlock) {
  std::vector<std::thread> threads;
  std::atomic<int> clashes = 0;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([t, &clashes] {
      for (int round = 0; round < 2000; ++round) {
        std::vector<Ref<TilePayload>> mine;
        for (int i = 0; i < 9; ++i) {
          mine.push_back(TilePayload::make(256));
          std::memset(mine.back()->bits(), t, 256);
        }
        for (const Ref<TilePayload>& payload : mine)
          if (payload->bits()[17] != static_cast<std::byte>(t)) ++clashes;
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(clashes, 0);
}

}  // namespace
