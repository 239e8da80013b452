#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "quarn/voxora/files/FaultFileSystem.h"
#include "quarn/voxora/files/FileError.h"
#include "quarn/voxora/files/MemoryFileSystem.h"
#include "tests/voxora/files/volume_files.h"

using hxvoxora::FaultFileSystem;
using hxvoxora::FileCall;
using hxvoxora::FileKind;
using hxvoxora::FileSystem;
using hxvoxora::FileSystemOverride;
using hxvoxora::MemoryFileSystem;
using testing::ElementsAre;
using volumefiles::Bytes;
using volumefiles::messageOf;
using volumefiles::toBytes;
using volumefiles::toText;
using Extent = FaultFileSystem::Extent;

namespace {

class FaultFiles : public testing::Test {
protected:
  void make(const std::string& path, const std::string& text) {
    const auto file = faults_.createExclusively(path, FileSystem::Access::ownerOnly);
    file->append(toBytes(text));
    file->sync();
    file->close();
  }

  std::string tryMake(const std::string& path) {
    return messageOf([&] { make(path, "content"); });
  }

  std::string text(const std::string& path) { return toText(base_.content(path)); }

  MemoryFileSystem base_;
  FaultFileSystem faults_{base_};
};

}  // namespace

TEST_F(FaultFiles, HandsEverythingOnUntilArmed) {
  base_.makeDirectory("/v");
  base_.setFreeSpace(77);
  make("/v/a", "abc");
  faults_.rename("/v/a", "/v/b");
  const auto file = faults_.openForReading("/v/b", FileSystem::Links::refuse);
  Bytes bytes(file->identity().size);
  EXPECT_EQ(file->readAt(0, bytes), 3u);
  EXPECT_EQ(toText(bytes), "abc");
  EXPECT_EQ(faults_.kind("/v/b"), FileKind::regular);
  EXPECT_THAT(faults_.list("/v"), ElementsAre("b"));
  EXPECT_EQ(faults_.freeSpace("/v"), 77u);
  faults_.syncDirectory("/v");
  EXPECT_TRUE(faults_.remove("/v/b"));
  EXPECT_FALSE(faults_.hasFailed());

  std::vector<FileCall> kinds;
  for (const FaultFileSystem::Call& call : faults_.log()) kinds.push_back(call.kind);
  EXPECT_THAT(kinds, ElementsAre(FileCall::create, FileCall::write, FileCall::sync, FileCall::close, FileCall::rename,
                                 FileCall::open, FileCall::identity, FileCall::read, FileCall::kind, FileCall::list,
                                 FileCall::freeSpace, FileCall::syncDirectory, FileCall::remove));
  EXPECT_EQ(faults_.log()[4].path, "/v/a to /v/b");
  EXPECT_EQ(faults_.callCount(), 13u);
  EXPECT_EQ(faults_.callCount(FileCall::open), 1u);
}

TEST_F(FaultFiles, EveryCallCanFail) {
  base_.setContent("old", toBytes("old"));
  const auto input = faults_.openForReading("old", FileSystem::Links::refuse);
  const auto output = faults_.createExclusively("new", FileSystem::Access::ownerOnly);
  base_.setContent("locked", {});
  const auto lock = faults_.tryLock("locked");
  Bytes byte(1);
  const std::vector<std::pair<std::string, std::function<void()>>> calls{
      {"open old", [&] { faults_.openForReading("old", FileSystem::Links::refuse); }},
      {"open other", [&] { faults_.createExclusively("other", FileSystem::Access::ownerOnly); }},
      {"read old", [&] { input->readAt(0, byte); }},
      {"fstat old", [&] { input->identity(); }},
      {"write new", [&] { output->append(byte); }},
      {"fsync new", [&] { output->sync(); }},
      {"close new", [&] { output->close(); }},
      {"rename old to x", [&] { faults_.rename("old", "x"); }},
      {"unlink old", [&] { faults_.remove("old"); }},
      {"lstat old", [&] { faults_.kind("old"); }},
      {"opendir ", [&] { faults_.list(""); }},
      {"fsync ", [&] { faults_.syncDirectory(""); }},
      {"statvfs ", [&] { faults_.freeSpace(""); }},
      {"mkdir folder", [&] { faults_.createDirectory("folder", FileSystem::Access::byMask); }},
      {"rmdir folder", [&] { faults_.removeDirectory("folder"); }},
      {"fcntl old", [&] { faults_.tryLock("old"); }},
      {"fcntl old", [&] { faults_.tryLockShared("old"); }},
      {"write locked", [&] { lock->write("holder"); }},
      {"stat a", [&] { faults_.isOneFileSystem("a", "b"); }}};
  for (const auto& [name, call] : calls) {
    faults_.arm({.reason = "Input/output error"});
    EXPECT_EQ(messageOf(call), name + ": Input/output error");
    EXPECT_TRUE(faults_.hasFailed());
    EXPECT_TRUE(faults_.log().at(0).failed);
  }
  EXPECT_THAT(base_.list(""), ElementsAre("locked", "new", "old"));
  EXPECT_EQ(text("new"), "");
  EXPECT_EQ(text("locked"), "");
}

TEST_F(FaultFiles, FailuresHaveTheNumberAskedFor) {
  for (const int number : {ENOSPC, EIO}) {
    faults_.arm({.number = number});
    try {
      faults_.list("");
      ADD_FAILURE() << "nothing failed";
    } catch (const hxvoxora::FileError& error) {
      EXPECT_EQ(error.number(), number);
    }
  }
}

TEST_F(FaultFiles, OneCallFails) {
  faults_.arm({.call = 3});
  EXPECT_EQ(tryMake("a"), "fsync a: No space left on device");
  make("b", "content");
  EXPECT_EQ(text("b"), "content");
}

TEST_F(FaultFiles, OneKindFailsForEver) {
  faults_.arm({.call = 2, .only = FileCall::write, .extent = Extent::forever, .reason = "Disk quota exceeded"});
  make("a", "content");
  for (const std::string name : {"b", "c"}) EXPECT_EQ(tryMake(name), "write " + name + ": Disk quota exceeded");
  EXPECT_TRUE(faults_.remove("b"));
  faults_.disarm();
  make("d", "content");
  EXPECT_THAT(base_.list(""), ElementsAre("a", "c", "d"));
}

TEST_F(FaultFiles, NothingHappensAfterTheEnd) {
  faults_.arm({.call = 1, .only = FileCall::sync, .extent = Extent::killed, .reason = "killed"});
  EXPECT_EQ(tryMake("a"), "fsync a: killed");
  EXPECT_EQ(messageOf([&] { faults_.remove("a"); }), "unlink a: killed");
  EXPECT_EQ(messageOf([&] { faults_.kind("a"); }), "lstat a: killed");
  EXPECT_EQ(text("a"), "content");
}

TEST_F(FaultFiles, PartOfAWriteReachesTheFile) {
  faults_.arm({.only = FileCall::write, .extent = Extent::forever, .writtenBytes = 4});
  EXPECT_EQ(tryMake("a"), "write a: No space left on device");
  EXPECT_EQ(text("a"), "cont");
  // Only the first failing write finds room.
  EXPECT_EQ(tryMake("b"), "write b: No space left on device");
  EXPECT_EQ(text("b"), "");
  // A write that fails is never whole.
  faults_.arm({.only = FileCall::write, .writtenBytes = 100});
  EXPECT_EQ(tryMake("c"), "write c: No space left on device");
  EXPECT_EQ(text("c"), "conten");
}

TEST(CurrentFileSystem, IsThatOfTheComputerUnlessReplaced) {
  EXPECT_EQ(&FileSystem::current(), &FileSystem::posix());
  MemoryFileSystem first, second;
  {
    const FileSystemOverride outer(first);
    EXPECT_EQ(&FileSystem::current(), &first);
    {
      const FileSystemOverride inner(second);
      EXPECT_EQ(&FileSystem::current(), &second);
    }
    EXPECT_EQ(&FileSystem::current(), &first);
  }
  EXPECT_EQ(&FileSystem::current(), &FileSystem::posix());
}
