#include <cstddef>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "quarn/base/McException.h"
#include "quarn/voxora/files/MemoryFileSystem.h"
#include "tests/voxora/nodes/maskSupport.h"

namespace {

using hxvoxora::TileSnapshot;
using hxvoxora::TruthTable;
using ::testing::HasSubstr;
using ::testing::ThrowsMessage;

const SbVec3i32 oddSize(77, 21, 19);

TEST(SoVolumeMask, StartsWithoutData) {
  const auto mask = hxvoxora::makeRef<SoVolumeMask>();
  EXPECT_EQ(mask->dataDimension(), SbVec3i32(0, 0, 0));
  EXPECT_EQ(mask->getTileDimension(), SbVec3i32(0, 0, 0));
  EXPECT_EQ(mask->fileName(), "");
  EXPECT_EQ(mask->fileError(), "");
  EXPECT_EQ(mask->reader(), nullptr);
  EXPECT_FALSE(mask->hasUnsavedEdits());
  EXPECT_FALSE(mask->defaultValue());
  EXPECT_EQ(mask->extent(), SbBox3f({0, 0, 0}, {1, 1, 1}));
}

TEST(SoVolumeMask, FreshVolumeReadsAsTheDefaultValueWithoutBeingWritten) {
  const auto mask = makeMask(oddSize);
  EXPECT_EQ(mask->countSetVoxels(wholeBox(*mask)), 0u);
  mask->setDefaultValue(true);
  EXPECT_EQ(mask->countSetVoxels(wholeBox(*mask)), 77u * 21 * 19);
  EXPECT_FALSE(mask->hasUnsavedEdits());
  EXPECT_FALSE(mask->snapshot().isWritten(0));
  EXPECT_EQ(mask->snapshot().kind(0), TileSnapshot::Kind::One);
  mask->setDefaultValue(false);
  EXPECT_EQ(mask->countSetVoxels(wholeBox(*mask)), 0u);
}

TEST(SoVolumeMask, DefaultValueLeavesWrittenTilesAlone) {
  const auto mask = makeMask(oddSize);
  fill(*mask, {{0, 0, 0}, {31, 7, 7}}, false);
  mask->setDefaultValue(true);
  EXPECT_EQ(mask->countSetVoxels(wholeBox(*mask)), 77u * 21 * 19 - 32 * 8 * 8);
}

TEST(SoVolumeMask, EveryTileOfAFilledBoxCountsAsWritten) {
  const auto mask = makeMask(oddSize);
  fill(*mask, {{31, 7, 7}, {32, 8, 8}}, false);
  const TileSnapshot content = mask->snapshot();
  int written = 0;
  for (std::int64_t tile = 0; tile < content.tileCount(); ++tile) written += content.isWritten(tile);
  EXPECT_EQ(written, 8);
  EXPECT_TRUE(mask->hasUnsavedEdits());
}

TEST(SoVolumeMask, EditsShowOnlyAfterTheTransaction) {
  const auto mask = makeMask(oddSize);
  const int id = mask->beginTransaction();
  mask->fillBox(wholeBox(*mask), 1.0);
  EXPECT_EQ(mask->countSetVoxels(wholeBox(*mask)), 0u);
  EXPECT_FALSE(mask->hasUnsavedEdits());
  mask->endTransaction(id);
  EXPECT_EQ(mask->countSetVoxels(wholeBox(*mask)), 77u * 21 * 19);
  EXPECT_TRUE(mask->hasUnsavedEdits());
}

TEST(SoVolumeMask, AbortedTransactionLeavesNothing) {
  const auto mask = makeMask(oddSize);
  fill(*mask, {{3, 3, 3}, {40, 9, 9}}, true);
  const auto before = fetched(*mask, wholeBox(*mask));
  const int id = mask->beginTransaction();
  mask->invertBox(wholeBox(*mask));
  mask->abortTransaction(id);
  EXPECT_EQ(fetched(*mask, wholeBox(*mask)), before);
  EXPECT_NO_THROW(mask->endTransaction(mask->beginTransaction()));
}

TEST(SoVolumeMask, TransactionWithoutEditIsNoEdit) {
  const auto mask = makeMask(oddSize);
  mask->endTransaction(mask->beginTransaction());
  EXPECT_FALSE(mask->hasUnsavedEdits());
}

TEST(SoVolumeMask, WrongTransactionsAreRefused) {
  const auto mask = makeMask(oddSize);
  EXPECT_THAT([&] { mask->fillBox(wholeBox(*mask), 1); }, ThrowsMessage<McException>(HasSubstr("transaction")));
  EXPECT_THAT([&] { mask->endTransaction(17); }, ThrowsMessage<McException>(HasSubstr("17")));
  const int id = mask->beginTransaction();
  EXPECT_NE(id, 0);
  EXPECT_THAT([&] { mask->beginTransaction(); }, ThrowsMessage<McException>(HasSubstr("still open")));
  EXPECT_THROW(mask->endTransaction(id + 1), McException);
  EXPECT_THROW(mask->abortTransaction(id + 1), McException);
  mask->endTransaction(id);
  EXPECT_THROW(mask->endTransaction(id), McException);
}

TEST(SoVolumeMask, BoxesOutsideTheVolumeAreRefusedAndEmptyOnesChangeNothing) {
  const auto mask = makeMask(oddSize);
  const SbBox3i32 outside({0, 0, 0}, {77, 3, 3}), empty({5, 5, 5}, {4, 5, 5});
  const auto small = makeMask({10, 10, 10});
  const auto bits = hxvoxora::makeRef<SoCpuBufferBitSet>();
  const int id = mask->beginTransaction();
  EXPECT_THAT([&] { mask->fillBox(outside, 1); }, ThrowsMessage<McException>(HasSubstr("(0, 0, 0) to (77, 3, 3)")));
  EXPECT_THROW(mask->invertBox({{-1, 0, 0}, {3, 3, 3}}), McException);
  EXPECT_THROW(mask->replaceBox(outside, bits.get()), McException);
  EXPECT_THROW(mask->combineBox({{0, 0, 0}, {10, 3, 3}}, *small, TruthTable::Or), McException);
  EXPECT_THAT(
      [&] {
        mask->replaceBox({{0, 0, 0}, {8, 0, 0}}, bits.get());
      },
      ThrowsMessage<McException>(HasSubstr("too small")));
  mask->fillBox(empty, 1);
  mask->replaceBox(empty, bits.get());
  mask->combineBox(empty, *small, TruthTable::One);
  mask->invertBox(empty);
  mask->endTransaction(id);
  EXPECT_EQ(mask->countSetVoxels(wholeBox(*mask)), 0u);
  EXPECT_TRUE(mask->hasUnsavedEdits());
}

TEST(SoVolumeMask, InitialisingAgainDropsContentEditsAndOpenTransaction) {
  const auto mask = makeMask(oddSize);
  fill(*mask, wholeBox(*mask), true);
  const int id = mask->beginTransaction();
  mask->initializeInMemory({5, 6, 7}, {32, 8, 8});
  EXPECT_EQ(mask->dataDimension(), SbVec3i32(5, 6, 7));
  EXPECT_EQ(mask->countSetVoxels(wholeBox(*mask)), 0u);
  EXPECT_FALSE(mask->hasUnsavedEdits());
  EXPECT_THROW(mask->endTransaction(id), McException);
}

TEST(SoVolumeMask, ImpossibleGridsAreRefusedAndChangeNothing) {
  const auto mask = makeMask(oddSize);
  EXPECT_THAT(
      [&] {
        mask->initializeInMemory({4, 0, 4}, {32, 8, 8});
      },
      ThrowsMessage<McException>(HasSubstr("along y must be positive, not 0")));
  EXPECT_THAT([&] { mask->initializeInMemory({4, 4, 4}, {16, 8, 8}); }, ThrowsMessage<McException>(HasSubstr("16")));
  EXPECT_THROW(mask->initializeInMemory({4, 4, 4}, {32, 8, 512}), McException);
  EXPECT_THROW(mask->initializeInMemory({4, 4, 4}, {32, 12, 8}), McException);
  EXPECT_THAT(
      [&] {
        mask->initializeInMemory({2147483647, 2147483647, 2147483647}, {256, 256, 256});
      },
      ThrowsMessage<McException>(HasSubstr("tiles")));
  EXPECT_EQ(mask->dataDimension(), oddSize);
}

TEST(SoVolumeMask, VolumesOfTheLargestDimensionWork) {
  const auto mask = makeMask({2147483647, 9, 9}, {256, 8, 8});
  const SbBox3i32 end({2147483600, 7, 7}, {2147483646, 8, 8});
  fill(*mask, end, true);
  EXPECT_EQ(mask->computeBoundingBox(end), end);
  EXPECT_EQ(mask->countSetVoxels(end), 47u * 4);
  std::vector<int> ends;
  mask->snapshot().forEachRun(end, [&](int, int, int x0, int x1) {
    ends.push_back(x0);
    ends.push_back(x1);
  });
  EXPECT_EQ(ends, (std::vector<int>{2147483600, 2147483647, 2147483600, 2147483647, 2147483600, 2147483647, 2147483600,
                                    2147483647}));
}

TEST(SoVolumeMask, CombiningWithItselfSeesTheStateOfTheTransaction) {
  const auto mask = makeMask(oddSize);
  RandomSource random;
  const DenseMask content = randomContent(random, oddSize);
  const int id = mask->beginTransaction();
  mask->fillBox({{1, 1, 1}, {50, 10, 10}}, 1);
  mask->combineBox(wholeBox(*mask), *mask, TruthTable::Xor);
  mask->endTransaction(id);
  EXPECT_EQ(mask->countSetVoxels(wholeBox(*mask)), 0u);
}

TEST(SoVolumeMask, OtherIsReadAsItsLastTransactionLeftIt) {
  const auto mask = makeMask(oddSize), other = makeMask(oddSize);
  fill(*other, {{0, 0, 0}, {9, 9, 9}}, true);
  const int otherId = other->beginTransaction();
  other->fillBox(wholeBox(*other), 1);
  inTransaction(*mask, [&] { mask->combineBox(wholeBox(*mask), *other, TruthTable::Or); });
  other->endTransaction(otherId);
  EXPECT_EQ(mask->countSetVoxels(wholeBox(*mask)), 1000u);
}

/// A mask of noise in a file whose last tile, which the volume cuts, is damaged.
Ref<SoVolumeMask> maskWithDamagedEnd(hxvoxora::MemoryFileSystem& files, const DenseMask& voxels) {
  const auto mask = hxvoxora::makeRef<SoVolumeMask>(files);
  mask->initializeInMemory(voxels.dimensions(), {32, 8, 8});
  replace(*mask, voxels.box(), voxels);
  mask->saveEditing("a.ldm", false, {});
  auto bytes = files.content("a.dat");
  bytes.back() ^= std::byte{1};
  files.remove("a.dat");
  files.setContent("a.dat", bytes);
  const auto stored = hxvoxora::makeRef<SoVolumeMask>(files);
  stored->bindTo("a.ldm");
  return stored;
}

TEST(SoVolumeMask, AnEditThatFailsLeavesTheTransactionAsItWas) {
  DenseMask voxels({70, 20, 20});
  DenseMask::forEachVoxel(voxels.box(), [&](int x, int y, int z) { voxels.at(x, y, z) = (x + y + z) % 3 != 0; });
  const SbBox3i32 corner({0, 0, 0}, {40, 4, 4}), most({0, 0, 0}, {68, 18, 18});
  DenseMask expected = voxels;
  expected.fill(corner, true);
  const auto other = hxvoxora::makeRef<SoVolumeMask>();
  other->initializeInMemory(voxels.dimensions(), {32, 8, 8});
  replace(*other, voxels.box(), expected);

  hxvoxora::MemoryFileSystem files;
  const std::function<void(SoVolumeMask&)> edits[] = {
      [&](SoVolumeMask& mask) { mask.invertBox(most); },
      [&](SoVolumeMask& mask) { mask.combineBox(most, *other, TruthTable::Xor); },
      [&](SoVolumeMask& mask) { mask.combineBox(most, mask, TruthTable::NotA); },
      [&](SoVolumeMask& mask) { mask.fillBox(most, 1); },
      [&](SoVolumeMask& mask) { mask.erode(1); },
  };
  for (const auto& edit : edits) {
    const auto mask = maskWithDamagedEnd(files, voxels);
    const int transaction = mask->beginTransaction();
    mask->fillBox(corner, 1);
    EXPECT_THROW(edit(*mask), McException);
    mask->endTransaction(transaction);
    // Without the damaged tile.
    for (const SbBox3i32& part : {SbBox3i32({0, 0, 0}, {63, 19, 19}), SbBox3i32({0, 0, 0}, {69, 15, 19})})
      EXPECT_EQ(mask->countSetVoxels(part), expected.count(part));
  }
}

TEST(SoVolumeMask, ReferencesAreTheCallersOnly) {
  auto* mask = new SoVolumeMask;
  EXPECT_EQ(mask->referenceCount(), 0);
  mask->ref();
  mask->initializeInMemory(oddSize, {32, 8, 8});
  fill(*mask, {{0, 0, 0}, {40, 4, 4}}, true);
  const TileSnapshot content = mask->snapshot();
  fetched(*mask, wholeBox(*mask));
  EXPECT_EQ(mask->referenceCount(), 1);
  mask->unref();
  EXPECT_EQ(content.countSetVoxels(content.grid().box()), 41u * 5 * 5);
}

}  // namespace
