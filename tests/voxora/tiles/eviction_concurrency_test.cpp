#include <atomic>
#include <gtest/gtest.h>
#include <thread>

#include "tests/voxora/tiles/budgetScopes.h"
#include "tests/voxora/tiles/tileRows.h"

/// Reading, editing, saving and making room at once.
namespace {

using hxvoxora::MemoryFileSystem;
using hxvoxora::TileSnapshot;
using hxvoxora::TruthTable;

constexpr int tiles = 24;

class EvictionConcurrency : public testing::Test {
protected:
  MemoryFileSystem files_;
  SpillScope place_{files_};
  std::atomic<bool> stop_ = false;
  std::atomic<int> wrong_ = 0;

  static std::uint64_t rowCount() {
    std::uint64_t sum = 0;
    for (int tile = 0; tile < tiles; ++tile) sum += voxelsIn(tile);
    return sum;
  }
};

TEST_F(EvictionConcurrency, ReadersSeeWholeTransactionsWhileTilesComeAndGo) {
  const BudgetScope budget(8 * tileBytes);
  const auto mask = makeRow(files_, tiles);
  const auto stored = storedRow(files_, tiles);
  const std::uint64_t row = rowCount(), rest = tiles * 32ull * 32 * 32 - row;
  const auto read = [&] {
    int looks = 0;
    while (!stop_ || looks < 20) {
      const std::uint64_t count = mask->countSetVoxels(wholeBox(*mask));
      if (count != row && count != rest) ++wrong_;
      if (stored->countSetVoxels(wholeBox(*stored)) != row) ++wrong_;
      ++looks;
    }
  };
  std::thread reader(read), other(read);
  for (int round = 0; round < 61; ++round) {
    inTransaction(*mask, [&] { mask->invertBox(wholeBox(*mask)); });
    if (round % 20 == 0) mask->saveEditing("edited.ldm", false, {});
    if (round % 10 == 0) hxvoxora::setMemoryBudget((4 + static_cast<std::size_t>(round) % 7) * tileBytes);
  }
  stop_ = true;
  reader.join();
  other.join();
  EXPECT_EQ(wrong_, 0);
  EXPECT_EQ(mask->countSetVoxels(wholeBox(*mask)), rest);
}

TEST_F(EvictionConcurrency, MasksThatShareTilesAreEditedAtOnce) {
  const BudgetScope budget(8 * tileBytes);
  const auto shared = makeRow(files_, tiles);
  std::vector<Ref<SoVolumeMask>> masks;
  std::vector<std::thread> threads;
  for (int i = 0; i < 3; ++i) {
    masks.push_back(hxvoxora::makeRef<SoVolumeMask>(files_));
    masks.back()->initializeInMemory(shared->dataDimension(), shared->getTileDimension());
  }
  for (const Ref<SoVolumeMask>& mask : masks) {
    threads.emplace_back([&mask, &shared] {
      const SbBox3i32 box = wholeBox(*mask);
      for (int i = 0; i < 15; ++i) {
        inTransaction(*mask, [&] { mask->combineBox(box, *shared, TruthTable::CopyB); });
        inTransaction(*mask, [&] {
          mask->combineBox({{1, 0, 0}, {32 * tiles - 2, 31, 31}}, *shared, TruthTable::Xor);
        });
        inTransaction(*mask, [&] {
          mask->combineBox({{1, 0, 0}, {32 * tiles - 2, 31, 31}}, *shared, TruthTable::Xor);
        });
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (const Ref<SoVolumeMask>& mask : masks) expectRow(mask->snapshot());
}

}  // namespace
