#include <gmock/gmock.h>

#include "quarn/voxora/files/FaultFileSystem.h"
#include "quarn/voxora/files/MemoryFileSystem.h"
#include "quarn/voxora/files/PassingFileSystem.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"
#include "tests/voxora/files/volume_files.h"

using namespace hxvoxora;
using testing::ElementsAre;
using volumefiles::toBytes;
using volumefiles::toText;

TEST(PassingFiles, WaitForNoStableStorage) {
  MemoryFileSystem memory;
  FaultFileSystem counted(memory);
  PassingFileSystem passing(counted);
  const auto file = passing.createExclusively("a", FileSystem::Access::ownerOnly);
  file->append(toBytes("text"));
  file->sync();
  file->close();
  passing.syncDirectory("");
  passing.rename("a", "b");
  EXPECT_EQ(counted.callCount(FileCall::sync), 0u);
  EXPECT_EQ(counted.callCount(FileCall::syncDirectory), 0u);
  EXPECT_THAT(memory.list(""), ElementsAre("b"));
  EXPECT_EQ(toText(memory.content("b")), "text");
}

TEST(PassingFiles, AreWhatAPassingSaveMakes) {
  for (const auto durability : {FileSystem::Durability::passing, FileSystem::Durability::lasting}) {
    MemoryFileSystem memory;
    FaultFileSystem counted(memory);
    auto* mask = new SoVolumeMask(counted);
    mask->ref();
    mask->initializeInMemory(SbVec3i32(40, 40, 40), SbVec3i32(32, 32, 32));
    const int id = mask->beginTransaction();
    mask->fillBox(SbBox3i32(SbVec3i32(3, 4, 5), SbVec3i32(33, 34, 35)), 1);
    mask->endTransaction(id);
    mask->saveEditing("mask.ldm", false, {"-c", "gzip"}, nullptr, FileSystem::Access::ownerOnly, durability);
    const bool isLasting = durability == FileSystem::Durability::lasting;
    EXPECT_EQ(counted.callCount(FileCall::sync), isLasting ? 3u : 0u);
    EXPECT_EQ(counted.callCount(FileCall::syncDirectory), isLasting ? 1u : 0u);
    EXPECT_EQ(mask->countSetVoxels(SbBox3i32(SbVec3i32(0, 0, 0), SbVec3i32(39, 39, 39))), 31u * 31 * 31);
    mask->unref();
  }
}
