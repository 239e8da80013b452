#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "quarn/base/McException.h"
#include "quarn/voxora/files/FaultFileSystem.h"
#include "quarn/voxora/files/MemoryFileSystem.h"
#include "quarn/voxora/readers/SoLDMReader.h"
#include "tests/voxora/nodes/maskSupport.h"

namespace {

using hxvoxora::MemoryFileSystem;
using hxvoxora::TileSnapshot;
using hxvoxora::TruthTable;
using ::testing::HasSubstr;
using ::testing::ThrowsMessage;

const std::vector<std::string> gzip = {"-q", "-noHistogramForceTileMinMax", "-c", "gzip", "-B"};

class SoVolumeMaskFile : public ::testing::Test {
protected:
  Ref<SoVolumeMask> newMask() { return hxvoxora::makeRef<SoVolumeMask>(files_); }

  /// A mask in memory with this content.
  Ref<SoVolumeMask> maskOf(const DenseMask& content, const SbVec3i32& tile = {32, 8, 8}) {
    const auto mask = newMask();
    mask->initializeInMemory(content.dimensions(), tile);
    replace(*mask, content.box(), content);
    return mask;
  }

  Ref<SoVolumeMask> open(const std::string& path) {
    const auto mask = newMask();
    mask->setFileName(path);
    EXPECT_EQ(mask->fileError(), "");
    return mask;
  }

  static DenseMask ball() {
    DenseMask content({70, 30, 20});
    DenseMask::forEachVoxel(content.box(), [&](int x, int y, int z) {
      content.at(x, y, z) = (x - 35) * (x - 35) + (y - 15) * (y - 15) + (z - 10) * (z - 10) < 150;
    });
    return content;
  }

  void flipByte(const std::string& path, std::size_t offset) {
    MemoryFileSystem::Bytes bytes = files_.content(path);
    bytes.at(offset) ^= std::byte{1};
    files_.remove(path);
    files_.setContent(path, bytes);
  }

  MemoryFileSystem files_;
};

TEST_F(SoVolumeMaskFile, SavedMaskReadsBackTheSame) {
  RandomSource random;
  for (int round = 0; round < 60; ++round) {
    const SbVec3i32 size(random.between(1, 90), random.between(1, 28), random.between(1, 20));
    const DenseMask content = randomContent(random, size);
    const auto mask = maskOf(content);
    ASSERT_TRUE(mask->saveEditing("m.ldm", false, round % 2 ? gzip : std::vector<std::string>{"-q"}));
    const auto read = open("m.ldm");
    ASSERT_EQ(read->dataDimension(), size);
    ASSERT_EQ(read->getTileDimension(), SbVec3i32(32, 8, 8));
    ASSERT_EQ(fetched(*read, content.box()), content.packed(content.box()));
    ASSERT_EQ(read->countSetVoxels(content.box()), content.count(content.box()));
    ASSERT_EQ(read->computeBoundingBox(content.box()), content.bounds(content.box()));
  }
}

TEST_F(SoVolumeMaskFile, SavingBindsTheNode) {
  const auto mask = maskOf(ball());
  EXPECT_TRUE(mask->hasUnsavedEdits());
  EXPECT_EQ(mask->reader(), nullptr);
  mask->saveEditing("a.ldm", false, gzip);
  EXPECT_EQ(mask->fileName(), "a.ldm");
  EXPECT_FALSE(mask->hasUnsavedEdits());
  EXPECT_NE(dynamic_cast<SoLDMReader*>(mask->reader()), nullptr);
  EXPECT_EQ(fetched(*mask, wholeBox(*mask)), ball().packed(ball().box()));
}

TEST_F(SoVolumeMaskFile, VoxelsInMemoryStayThereWhenSaved) {
  const auto mask = maskOf(ball());
  const Ref<const hxvoxora::TilePayload> before = mask->snapshot().payload(4);
  ASSERT_TRUE(before);
  mask->saveEditing("a.ldm", false, gzip);
  EXPECT_EQ(mask->snapshot().payload(4), before);
}

TEST_F(SoVolumeMaskFile, SavingAgainOntoTheBoundFile) {
  const auto mask = maskOf(ball());
  mask->saveEditing("a.ldm", false, gzip);
  const auto reader = open("a.ldm");
  DenseMask expected = ball();
  for (int i = 0; i < 5; ++i) {
    const SbBox3i32 box({i * 9, i, i}, {i * 9 + 20, i + 9, i + 9});
    inTransaction(*mask, [&] { mask->invertBox(box); });
    expected.invert(box);
    mask->saveEditing("a.ldm", false, gzip);
    const auto again = open("a.ldm");
    ASSERT_EQ(fetched(*again, expected.box()), expected.packed(expected.box()));
    ASSERT_EQ(fetched(*mask, expected.box()), expected.packed(expected.box()));
  }
  // A node that was bound before still sees what it was bound to.
  EXPECT_EQ(fetched(*reader, ball().box()), ball().packed(ball().box()));
}

TEST_F(SoVolumeMaskFile, UnchangedTilesAreTakenOverInFewCalls) {
  RandomSource random;
  DenseMask content = randomContent(random, {320, 80, 80});
  maskOf(content)->saveEditing("a.ldm", false, gzip);
  hxvoxora::FaultFileSystem counted(files_);
  const auto mask = hxvoxora::makeRef<SoVolumeMask>(counted);
  mask->setFileName("a.ldm");
  const SbBox3i32 voxel({100, 40, 40}, {100, 40, 40});
  const int id = mask->beginTransaction();
  mask->invertBox(voxel);
  mask->endTransaction(id);
  content.invert(voxel);
  const std::uint64_t callsBefore = counted.callCount();
  mask->saveEditing("a.ldm", false, gzip);
  EXPECT_LT(counted.callCount() - callsBefore, 60u);  // there are 1000 tiles
  EXPECT_EQ(fetched(*open("a.ldm"), content.box()), content.packed(content.box()));
}

TEST_F(SoVolumeMaskFile, TooLittleRoomIsToldBeforeAnythingIsWritten) {
  const auto mask = maskOf(ball());
  files_.setFreeSpace(100);
  EXPECT_THAT([&] { mask->saveEditing("a.ldm", false, {}); },
              ThrowsMessage<McException>(HasSubstr("bytes are needed, and only 100 are free")));
  EXPECT_TRUE(files_.list("").empty());
  EXPECT_TRUE(mask->hasUnsavedEdits());
  files_.setFreeSpace(1 << 20);
  mask->saveEditing("a.ldm", false, {});
}

TEST_F(SoVolumeMaskFile, UneditedMaskIsNotWrittenOntoItsOwnFile) {
  maskOf(ball())->saveEditing("a.ldm", false, gzip);
  const auto before = files_.content("a.ldm");
  const auto mask = open("a.ldm");
  EXPECT_TRUE(mask->saveEditing("a.ldm", false, gzip));
  EXPECT_EQ(files_.content("a.ldm"), before);
}

TEST_F(SoVolumeMaskFile, UneditedMaskIsWrittenToAnotherPath) {
  maskOf(ball())->saveEditing("a.ldm", false, gzip);
  const auto mask = open("a.ldm");
  EXPECT_TRUE(mask->saveEditing("b.ldm", false, gzip));
  EXPECT_EQ(mask->fileName(), "b.ldm");
  EXPECT_EQ(fetched(*open("b.ldm"), ball().box()), ball().packed(ball().box()));
}

TEST_F(SoVolumeMaskFile, EmptyPathAndEmptyNodeSaveNothing) {
  const auto mask = maskOf(ball());
  EXPECT_TRUE(mask->saveEditing("", false, gzip));
  EXPECT_TRUE(mask->hasUnsavedEdits());
  EXPECT_TRUE(newMask()->saveEditing("n.ldm", false, gzip));
  EXPECT_TRUE(files_.list("").empty());
}

TEST_F(SoVolumeMaskFile, TilesNeverWrittenAreSavedAsTheyRead) {
  const auto mask = newMask();
  mask->initializeInMemory({70, 30, 20}, {32, 8, 8});
  mask->setDefaultValue(true);
  fill(*mask, {{0, 0, 0}, {9, 9, 9}}, false);
  mask->saveEditing("a.ldm", false, gzip);
  EXPECT_EQ(open("a.ldm")->countSetVoxels(wholeBox(*mask)), 70u * 30 * 20 - 1000);
  EXPECT_EQ(mask->countSetVoxels(wholeBox(*mask)), 70u * 30 * 20 - 1000);
}

TEST_F(SoVolumeMaskFile, UnwrittenTilesOfAFileReadAsTheDefaultValue) {
  const auto mask = newMask();
  mask->initializeInMemory({70, 30, 20}, {32, 8, 8});
  fill(*mask, {{0, 0, 0}, {31, 7, 7}}, true);
  mask->saveEditing("a.ldm", false, gzip);
  const auto read = open("a.ldm");
  EXPECT_EQ(read->countSetVoxels(wholeBox(*read)), 32u * 8 * 8);
  EXPECT_FALSE(read->snapshot().isWritten(1));
  read->setDefaultValue(true);
  EXPECT_EQ(read->countSetVoxels(wholeBox(*read)), 70u * 30 * 20);
  EXPECT_FALSE(read->hasUnsavedEdits());
}

TEST_F(SoVolumeMaskFile, BindingDropsEditsAndKeepsTheDefaultValue) {
  maskOf(ball())->saveEditing("a.ldm", false, gzip);
  const auto mask = makeMask({5, 5, 5});
  const auto bound = newMask();
  bound->initializeInMemory({5, 5, 5}, {32, 8, 8});
  bound->setDefaultValue(true);
  fill(*bound, wholeBox(*bound), false);
  bound->setFileName("a.ldm");
  EXPECT_FALSE(bound->hasUnsavedEdits());
  EXPECT_TRUE(bound->defaultValue());
  EXPECT_EQ(bound->dataDimension(), SbVec3i32(70, 30, 20));
  bound->setFileName("");
  EXPECT_EQ(bound->dataDimension(), SbVec3i32(0, 0, 0));
  EXPECT_EQ(bound->fileError(), "");
}

TEST_F(SoVolumeMaskFile, UnreadableFilesAreToldNotThrown) {
  const auto mask = newMask();
  mask->setFileName("nowhere.ldm");
  EXPECT_EQ(mask->dataDimension(), SbVec3i32(0, 0, 0));
  EXPECT_EQ(mask->fileName(), "nowhere.ldm");
  EXPECT_THAT(mask->fileError(), HasSubstr("nowhere.ldm"));
  EXPECT_EQ(mask->reader(), nullptr);

  maskOf(ball())->saveEditing("a.ldm", false, gzip);
  files_.remove("a.fcp");
  mask->setFileName("a.ldm");
  EXPECT_EQ(mask->dataDimension(), SbVec3i32(0, 0, 0));
  EXPECT_THAT(mask->fileError(), HasSubstr("a.fcp"));

  mask->initializeInMemory({5, 5, 5}, {32, 8, 8});
  EXPECT_EQ(mask->fileError(), "");
}

TEST_F(SoVolumeMaskFile, DamagedTileIsAnErrorAndLeavesContentAlone) {
  maskOf(ball())->saveEditing("a.ldm", false, gzip);
  flipByte("a.dat", 20);
  const auto mask = open("a.ldm");
  EXPECT_THAT([&] { mask->countSetVoxels(wholeBox(*mask)); }, ThrowsMessage<McException>(HasSubstr("a.dat")));
  EXPECT_THAT([&] { fetched(*mask, wholeBox(*mask)); }, ThrowsMessage<McException>(HasSubstr("a.dat")));
  const int id = mask->beginTransaction();
  EXPECT_THROW(mask->invertBox(wholeBox(*mask)), McException);
  mask->abortTransaction(id);
  EXPECT_FALSE(mask->hasUnsavedEdits());
  EXPECT_THROW(mask->saveEditing("b.ldm", false, gzip), McException);
  EXPECT_EQ(mask->fileName(), "a.ldm");
  EXPECT_EQ(files_.list(""), (std::vector<std::string>{"a.dat", "a.fcp", "a.ldm"}));
  EXPECT_NO_THROW(fill(*mask, wholeBox(*mask), true));
}

TEST_F(SoVolumeMaskFile, FilesMayVanishWhileTheNodeReadsThem) {
  maskOf(ball())->saveEditing("a.ldm", false, gzip);
  const auto mask = open("a.ldm");
  for (const char* name : {"a.ldm", "a.dat", "a.fcp"}) files_.remove(name);
  EXPECT_EQ(fetched(*mask, ball().box()), ball().packed(ball().box()));
}

TEST_F(SoVolumeMaskFile, StoredTilesAreReadOnDemandAndThenKept) {
  maskOf(ball())->saveEditing("a.ldm", false, gzip);
  const auto mask = open("a.ldm");
  const std::size_t before = hxvoxora::payloadStatistics().payloadsInUse;
  EXPECT_EQ(mask->snapshot().kind(4), TileSnapshot::Kind::Mixed);
  EXPECT_EQ(hxvoxora::payloadStatistics().payloadsInUse, before);
  const auto payload = mask->snapshot().payload(4);
  EXPECT_EQ(hxvoxora::payloadStatistics().payloadsInUse, before + 1);
  EXPECT_EQ(mask->snapshot().payload(4), payload);
}

TEST_F(SoVolumeMaskFile, TakenOverTilesAreNotReadUntilNeeded) {
  maskOf(ball())->saveEditing("a.ldm", false, gzip);
  const auto stored = open("a.ldm");
  const auto mask = newMask();
  mask->initializeInMemory({70, 30, 20}, {32, 8, 8});
  const std::size_t before = hxvoxora::payloadStatistics().payloadsHandedOut;
  inTransaction(*mask, [&] { mask->combineBox(wholeBox(*mask), *stored, TruthTable::Or); });
  mask->saveEditing("b.ldm", false, gzip);
  EXPECT_EQ(hxvoxora::payloadStatistics().payloadsHandedOut, before);
  EXPECT_EQ(fetched(*mask, ball().box()), ball().packed(ball().box()));
}

TEST_F(SoVolumeMaskFile, FailedSaveLeavesNodeAndOldFiles) {
  const auto mask = maskOf(ball());
  mask->saveEditing("a.ldm", false, gzip);
  fill(*mask, {{0, 0, 0}, {3, 3, 3}}, true);
  EXPECT_THROW(mask->saveEditing("no/such/folder/b.ldm", false, gzip), McException);
  EXPECT_EQ(mask->fileName(), "a.ldm");
  EXPECT_TRUE(mask->hasUnsavedEdits());
  EXPECT_EQ(fetched(*open("a.ldm"), ball().box()), ball().packed(ball().box()));
}

TEST_F(SoVolumeMaskFile, BindingThatFailsLeavesTheNode) {
  const auto mask = maskOf(ball());
  EXPECT_THAT([&] { mask->bindTo("missing.ldm"); }, ThrowsMessage<McException>(HasSubstr("missing.ldm")));
  EXPECT_TRUE(mask->hasUnsavedEdits());
  EXPECT_EQ(mask->fileName(), "");
  EXPECT_EQ(mask->fileError(), "");
  EXPECT_EQ(fetched(*mask, ball().box()), ball().packed(ball().box()));
  mask->saveEditing("a.ldm", false, gzip);
  const auto bound = newMask();
  bound->bindTo("a.ldm");
  EXPECT_EQ(bound->fileName(), "a.ldm");
  EXPECT_EQ(fetched(*bound, ball().box()), ball().packed(ball().box()));
}

TEST_F(SoVolumeMaskFile, LongPathsAreCutInMessages) {
  const std::string folder(300, 'f');
  const auto mask = newMask();
  for (const std::string text : {"", "<VolumeInformation/>"}) {
    files_.makeDirectory(folder);
    files_.setContent(folder + "/a.ldm", MemoryFileSystem::Bytes(text.size(), std::byte{'<'}));
    mask->setFileName(folder + "/a.ldm");
    EXPECT_NE(mask->fileError(), "");
    EXPECT_EQ(mask->fileError().find(folder), std::string::npos) << mask->fileError();
  }
}

TEST_F(SoVolumeMaskFile, GivenUpSaveLeavesNodeAndOldFiles) {
  const auto mask = maskOf(ball());
  mask->saveEditing("a.ldm", false, gzip);
  fill(*mask, {{0, 0, 0}, {3, 3, 3}}, true);
  int calls = 0;
  EXPECT_FALSE(mask->saveEditing("a.ldm", false, gzip, [&](double) { return ++calls < 3; }));
  EXPECT_GE(calls, 3);
  EXPECT_TRUE(mask->hasUnsavedEdits());
  EXPECT_EQ(fetched(*open("a.ldm"), ball().box()), ball().packed(ball().box()));
  EXPECT_EQ(files_.list("").size(), 3u);
  double last = 0;
  EXPECT_TRUE(mask->saveEditing("a.ldm", false, gzip, [&](double done) {
    EXPECT_GT(done, last);
    last = done;
    return true;
  }));
  EXPECT_EQ(last, 1.0);
}

TEST_F(SoVolumeMaskFile, SavingInsideATransactionIsRefused) {
  const auto mask = maskOf(ball());
  const int id = mask->beginTransaction();
  EXPECT_THROW(mask->saveEditing("a.ldm", false, gzip), McException);
  mask->endTransaction(id);
}

TEST_F(SoVolumeMaskFile, ForeignElementsOfAnOldHeaderAreNotTakenOver) {
  const auto mask = maskOf(ball());
  mask->saveEditing("a.ldm", false, gzip);
  MemoryFileSystem::Bytes header = files_.content("a.ldm");
  std::string text(reinterpret_cast<const char*>(header.data()), header.size());
  text.insert(text.rfind("</VolumeInformation>"), "<BoundingBox>0 1 2 3 4 5</BoundingBox>\n");
  const auto* bytes = reinterpret_cast<const std::byte*>(text.data());
  files_.setContent("a.ldm", {bytes, bytes + text.size()});
  const auto edited = open("a.ldm");
  EXPECT_EQ(dynamic_cast<SoLDMReader*>(edited->reader())->findHeaderTag("BoundingBox"), "0 1 2 3 4 5");
  fill(*edited, {{0, 0, 0}, {0, 0, 0}}, true);
  edited->saveEditing("a.ldm", false, gzip);
  EXPECT_EQ(dynamic_cast<SoLDMReader*>(edited->reader())->findHeaderTag("BoundingBox"), std::nullopt);
  EXPECT_EQ(dynamic_cast<SoLDMReader*>(open("a.ldm")->reader())->findHeaderTag("BoundingBox"), std::nullopt);
}

TEST_F(SoVolumeMaskFile, GzipIsSmallerThanRaw) {
  const auto mask = maskOf(ball());
  mask->saveEditing("raw.ldm", false, {"-q"});
  const std::size_t raw = files_.content("raw.dat").size();
  mask->saveEditing("packed.ldm", false, gzip);
  EXPECT_LT(files_.content("packed.dat").size(), raw);
  EXPECT_EQ(fetched(*open("packed.ldm"), ball().box()), ball().packed(ball().box()));
}

}  // namespace
