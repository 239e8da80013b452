#include <atomic>
#include <gtest/gtest.h>
#include <thread>

#include "tests/voxora/nodes/maskSupport.h"

namespace {

using hxvoxora::TileSnapshot;
using hxvoxora::TruthTable;

TEST(SoVolumeMaskConcurrency, SnapshotsKeepTheirContent) {
  RandomSource random;
  const SbVec3i32 size(90, 20, 20);
  const auto mask = makeMask(size), other = makeMask(size);
  fill(*other, {{10, 3, 3}, {80, 17, 17}}, true);
  DenseMask dense(size);
  std::vector<std::pair<TileSnapshot, DenseMask>> moments;
  for (int i = 0; i < 60; ++i) {
    const SbBox3i32 box = randomBoxIn(random, size);
    inTransaction(*mask, [&] { mask->combineBox(box, *other, TruthTable::Xor); });
    dense.combine(
        box,
        [&] {
          DenseMask d(size);
          d.fill({{10, 3, 3}, {80, 17, 17}}, true);
          return d;
        }(),
        TruthTable::Xor);
    moments.emplace_back(mask->snapshot(), dense);
  }
  mask->initializeInMemory({1, 1, 1}, {32, 8, 8});
  for (const auto& [snapshot, expected] : moments) {
    std::vector<std::byte> bits(expected.packed(expected.box()).size());
    snapshot.fetch(expected.box(), bits.data());
    ASSERT_EQ(bits, expected.packed(expected.box()));
  }
}

TEST(SoVolumeMaskConcurrency, ReadersSeeWholeTransactionsWhileCommitsRun) {
  const SbVec3i32 size(96, 24, 24);
  const auto mask = makeMask(size);
  const SbBox3i32 left({0, 0, 0}, {40, 23, 23}), right({41, 0, 0}, {95, 23, 23});
  fill(*mask, left, true);
  std::atomic<bool> stop = false;
  std::atomic<int> wrong = 0, looks = 0;
  const auto look = [&] {
    while (!stop || looks < 50) {
      const std::vector<std::byte> first = fetched(*mask, {{40, 11, 11}, {41, 11, 11}});
      const auto bits = std::to_integer<unsigned>(first[0]) >> 6;
      const std::uint64_t count = mask->countSetVoxels(wholeBox(*mask));
      const SbBox3i32 bounds = mask->computeBoundingBox(wholeBox(*mask));
      const bool whole = (bits == 1 || bits == 2) && (count == 41u * 24 * 24 || count == 55u * 24 * 24) &&
                         (bounds == left || bounds == right);
      if (!whole) ++wrong;
      ++looks;
    }
  };
  std::thread reader(look), otherReader(look);
  for (int i = 0; i < 400; ++i) {
    inTransaction(*mask, [&] {
      mask->invertBox(left);
      mask->invertBox(right);
    });
  }
  stop = true;
  reader.join();
  otherReader.join();
  EXPECT_EQ(wrong, 0);
  EXPECT_GE(looks, 50);
}

TEST(SoVolumeMaskConcurrency, ManyReadersOfOneContentOutliveItsStock) {
  // More references than are kept in stock, held at once and over a replacement.
  const auto mask = makeMask({40, 8, 8});
  fill(*mask, {{0, 0, 0}, {3, 3, 3}}, true);
  std::vector<TileSnapshot> kept(200000);
  std::thread other([&] {
    for (std::size_t i = 0; i < kept.size(); i += 2) kept[i] = mask->snapshot();
  });
  for (std::size_t i = 1; i < kept.size(); i += 2) kept[i] = mask->snapshot();
  other.join();
  fill(*mask, wholeBox(*mask), false);
  EXPECT_EQ(kept.front().countSetVoxels(kept.front().grid().box()), 64u);
  const Ref<const hxvoxora::TilePayload> payload = kept.back().payload(0);
  kept.clear();
  EXPECT_NE(payload->bits()[0], std::byte{0});
  EXPECT_EQ(mask->countSetVoxels(wholeBox(*mask)), 0u);
}

TEST(SoVolumeMaskConcurrency, DifferentMasksAreEditedAtOnce) {
  RandomSource random;
  const SbVec3i32 size(64, 32, 32);
  const auto shared = makeMask(size);
  fill(*shared, {{5, 5, 5}, {50, 25, 25}}, true);
  std::vector<Ref<SoVolumeMask>> masks;
  for (int i = 0; i < 4; ++i) masks.push_back(makeMask(size));
  std::vector<std::thread> threads;
  for (const Ref<SoVolumeMask>& mask : masks) {
    threads.emplace_back([&mask, &shared] {
      for (int i = 0; i < 101; ++i)
        inTransaction(*mask, [&] { mask->combineBox({{1, 1, 1}, {60, 30, 30}}, *shared, TruthTable::Xor); });
    });
  }
  for (std::thread& thread : threads) thread.join();
  for (const Ref<SoVolumeMask>& mask : masks)
    EXPECT_EQ(fetched(*mask, wholeBox(*mask)), fetched(*shared, wholeBox(*shared)));
}

}  // namespace
