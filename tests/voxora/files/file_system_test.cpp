#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "quarn/base/McException.h"
#include "quarn/voxora/files/FileError.h"
#include "quarn/voxora/files/FileSystem.h"
#include "quarn/voxora/files/MemoryFileSystem.h"
#include "tests/voxora/files/temporary_folder.h"
#include "tests/voxora/files/volume_files.h"

using hxvoxora::FileKind;
using hxvoxora::FileSystem;
using hxvoxora::MemoryFileSystem;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using volumefiles::Bytes;
using volumefiles::messageOf;
using volumefiles::toBytes;
using volumefiles::toText;

namespace {

/// What every file system must do; run for each of them in a folder of its own.
class AnyFileSystem : public testing::TestWithParam<std::string> {
protected:
  void SetUp() override {
    memory_.makeDirectory("/folder/sub");
    std::filesystem::create_directory(disk_.path() + "/sub");
  }

  FileSystem& files() { return GetParam() == "memory" ? memory_ : FileSystem::posix(); }
  std::string folder() const { return GetParam() == "memory" ? "/folder" : disk_.path(); }
  std::string path(const std::string& name) const { return folder() + "/" + name; }

  void make(const std::string& name, const std::string& text) {
    const auto file = files().createExclusively(path(name), FileSystem::Access::ownerOnly);
    file->append(toBytes(text));
    file->sync();
    file->close();
  }

  std::string contentOf(const hxvoxora::InputFile& file) {
    Bytes bytes(file.identity().size);
    file.readFully(0, bytes);
    return toText(bytes);
  }
  std::string content(const std::string& name) {
    return contentOf(*files().openForReading(path(name), FileSystem::Links::refuse));
  }

private:
  TemporaryFolder disk_;
  MemoryFileSystem memory_;
};

class PosixFiles : public testing::Test {
protected:
  std::string path(const std::string& name) const { return folder_.path() + "/" + name; }
  std::string openMessage(const std::string& name, FileSystem::Links links) {
    return messageOf([&] { FileSystem::posix().openForReading(path(name), links); });
  }

  TemporaryFolder folder_;
  FileSystem& files_ = FileSystem::posix();
};

}  // namespace

TEST_P(AnyFileSystem, KeepsWhatIsAppended) {
  const auto file = files().createExclusively(path("a"), FileSystem::Access::ownerOnly);
  file->append(toBytes("one"));
  file->append({});
  file->append(toBytes(" two"));
  file->close();
  EXPECT_EQ(content("a"), "one two");
}

TEST_P(AnyFileSystem, ReadsAnyPart) {
  make("a", "0123456789");
  const auto file = files().openForReading(path("a"), FileSystem::Links::refuse);
  Bytes bytes(4);
  EXPECT_EQ(file->readAt(3, bytes), 4u);
  EXPECT_EQ(toText(bytes), "3456");
  EXPECT_EQ(file->readAt(8, bytes), 2u);
  EXPECT_EQ(file->readAt(10, bytes), 0u);
  EXPECT_EQ(file->readAt(std::uint64_t{1} << 40, bytes), 0u);
  EXPECT_EQ(file->readAt(0, {}), 0u);
  EXPECT_THAT(messageOf([&] { file->readFully(8, bytes); }),
              AllOf(HasSubstr(path("a")), HasSubstr("2 bytes too early")));
}

TEST_P(AnyFileSystem, MakesNoFileTwice) {
  make("a", "old");
  EXPECT_THAT(messageOf([&] { files().createExclusively(path("a"), FileSystem::Access::ownerOnly); }),
              AllOf(HasSubstr("open"), HasSubstr(path("a")), HasSubstr("exists")));
  EXPECT_THAT(messageOf([&] { files().createExclusively(path("sub"), FileSystem::Access::ownerOnly); }),
              HasSubstr(path("sub")));
  EXPECT_THAT(messageOf([&] { files().createExclusively(path("none/a"), FileSystem::Access::ownerOnly); }),
              HasSubstr("No such file"));
  EXPECT_EQ(content("a"), "old");
}

TEST_P(AnyFileSystem, OpensOnlyRegularFiles) {
  EXPECT_THAT(messageOf([&] { files().openForReading(path("none"), FileSystem::Links::follow); }),
              AllOf(HasSubstr(path("none")), HasSubstr("No such file")));
  EXPECT_THAT(messageOf([&] { files().openForReading(path("sub"), FileSystem::Links::follow); }),
              AllOf(HasSubstr(path("sub")), HasSubstr("not a regular file")));
}

TEST_P(AnyFileSystem, RenamesInOneStepOverAnother) {
  make("old", "old");
  make("new", "new");
  const auto open = files().openForReading(path("old"), FileSystem::Links::refuse);
  files().rename(path("new"), path("old"));
  EXPECT_EQ(content("old"), "new");
  EXPECT_EQ(files().kind(path("new")), FileKind::missing);
  EXPECT_EQ(contentOf(*open), "old");
  EXPECT_THAT(messageOf([&] { files().rename(path("none"), path("x")); }), HasSubstr(path("none")));
  EXPECT_THAT(messageOf([&] { files().rename(path("old"), path("none/x")); }), HasSubstr("rename"));
  EXPECT_THAT(messageOf([&] { files().rename(path("old"), path("sub")); }), HasSubstr("directory"));
  EXPECT_EQ(content("old"), "new");
}

TEST_P(AnyFileSystem, RemovesFilesOnly) {
  make("a", "text");
  const auto open = files().openForReading(path("a"), FileSystem::Links::refuse);
  EXPECT_TRUE(files().remove(path("a")));
  EXPECT_FALSE(files().remove(path("a")));
  EXPECT_EQ(contentOf(*open), "text");
  EXPECT_THAT(messageOf([&] { files().remove(path("sub")); }), HasSubstr("unlink"));
}

TEST_P(AnyFileSystem, TellsKindsAndNames) {
  make("b", "");
  make("a", "");
  EXPECT_EQ(files().kind(path("a")), FileKind::regular);
  EXPECT_EQ(files().kind(path("sub")), FileKind::directory);
  EXPECT_EQ(files().kind(path("none")), FileKind::missing);
  EXPECT_THAT(files().list(folder()), ElementsAre("a", "b", "sub"));
  EXPECT_THAT(files().list(path("sub")), ElementsAre());
}

TEST_P(AnyFileSystem, SyncsFolders) {
  EXPECT_NO_THROW(files().syncDirectory(folder()));
  EXPECT_THAT(messageOf([&] { files().syncDirectory(path("none")); }), HasSubstr(path("none")));
  EXPECT_GT(files().freeSpace(folder()), 0u);
}

TEST_P(AnyFileSystem, IdentityTellsFilesAndChangesApart) {
  make("a", "text");
  make("b", "text");
  const auto a = files().openForReading(path("a"), FileSystem::Links::refuse);
  const auto b = files().openForReading(path("b"), FileSystem::Links::refuse);
  const auto again = files().openForReading(path("a"), FileSystem::Links::refuse);
  EXPECT_EQ(a->identity(), again->identity());
  EXPECT_TRUE(a->identity().sameFile(again->identity()));
  EXPECT_FALSE(a->identity().sameFile(b->identity()));
  EXPECT_EQ(a->identity().size, 4u);
}

TEST_P(AnyFileSystem, LocksAFileForOneHolder) {
  make("a", "text");
  auto lock = files().tryLock(path("a"));
  ASSERT_TRUE(lock);
  EXPECT_EQ(lock->path(), path("a"));
  EXPECT_TRUE(lock->isInPlace());
  EXPECT_FALSE(files().tryLock(path("a")));
  EXPECT_EQ(content("a"), "text");
  EXPECT_FALSE(files().tryLock(path("a"))) << "reading the file ended the lock";
  lock.reset();
  EXPECT_TRUE(files().tryLock(path("a")));
  EXPECT_EQ(content("a"), "text");
}

TEST_P(AnyFileSystem, LockStaysWithItsFileWhenTheNameGoes) {
  make("a", "old");
  const auto lock = files().tryLock(path("a"));
  ASSERT_TRUE(lock);
  files().remove(path("a"));
  EXPECT_FALSE(lock->isInPlace());
  make("a", "new");
  EXPECT_FALSE(lock->isInPlace());
  EXPECT_TRUE(files().tryLock(path("a")));
}

TEST_P(AnyFileSystem, LocksOnlyRegularFiles) {
  EXPECT_THAT(messageOf([&] { files().tryLock(path("none")); }), HasSubstr("No such file"));
  EXPECT_THAT(messageOf([&] { files().tryLock(path("sub")); }), HasSubstr(path("sub")));
}

TEST_P(AnyFileSystem, MakesFoldersOnceAndTellsWhetherTheyCanBeWritten) {
  EXPECT_FALSE(files().isWritable(path("own")));
  files().makePrivateDirectory(path("own"));
  files().makePrivateDirectory(path("own"));
  EXPECT_TRUE(files().isWritable(path("own")));
  EXPECT_EQ(files().kind(path("own")), FileKind::directory);
  make("a", "text");
  EXPECT_FALSE(files().isWritable(path("a")));
  EXPECT_THAT(messageOf([&] { files().makePrivateDirectory(path("a")); }), HasSubstr("not a folder"));
  EXPECT_THAT(messageOf([&] { files().makePrivateDirectory(path("none/own")); }), HasSubstr("No such file"));
}

TEST_P(AnyFileSystem, MakesAndRemovesEmptyFolders) {
  files().createDirectory(path("new"), FileSystem::Access::byMask);
  EXPECT_EQ(files().kind(path("new")), FileKind::directory);
  EXPECT_THAT(messageOf([&] { files().createDirectory(path("new"), FileSystem::Access::byMask); }),
              AllOf(HasSubstr("mkdir"), HasSubstr(path("new")), HasSubstr("exists")));
  EXPECT_THAT(messageOf([&] { files().createDirectory(path("none/new"), FileSystem::Access::byMask); }),
              HasSubstr("No such file"));
  make("new/a", "text");
  EXPECT_THAT(messageOf([&] { files().removeDirectory(path("new")); }), AllOf(HasSubstr("rmdir"), HasSubstr("empty")));
  EXPECT_EQ(content("new/a"), "text");
  EXPECT_THAT(messageOf([&] { files().removeDirectory(path("new/a")); }), HasSubstr("Not a directory"));
  EXPECT_TRUE(files().remove(path("new/a")));
  EXPECT_TRUE(files().removeDirectory(path("new")));
  EXPECT_FALSE(files().removeDirectory(path("new")));
  EXPECT_EQ(files().kind(path("new")), FileKind::missing);
}

TEST_P(AnyFileSystem, RenamesFoldersWithAllThatIsInThem) {
  files().createDirectory(path("old"), FileSystem::Access::ownerOnly);
  files().createDirectory(path("old/inner"), FileSystem::Access::ownerOnly);
  make("old/a", "a");
  make("old/inner/b", "b");
  make("older", "beside");
  const auto open = files().openForReading(path("old/a"), FileSystem::Links::refuse);
  files().rename(path("old"), path("new"));
  EXPECT_EQ(files().kind(path("old")), FileKind::missing);
  EXPECT_EQ(content("new/a"), "a");
  EXPECT_EQ(content("new/inner/b"), "b");
  EXPECT_EQ(content("older"), "beside");
  EXPECT_EQ(contentOf(*open), "a");
  EXPECT_THAT(files().list(folder()), ElementsAre("new", "older", "sub"));
}

TEST_P(AnyFileSystem, FoldersReplaceNothingButEmptyFolders) {
  files().createDirectory(path("new"), FileSystem::Access::byMask);
  make("new/a", "a");
  make("sub/b", "b");
  make("file", "text");
  EXPECT_THAT(messageOf([&] { files().rename(path("new"), path("sub")); }), HasSubstr("not empty"));
  EXPECT_THAT(messageOf([&] { files().rename(path("new"), path("file")); }), HasSubstr("Not a directory"));
  EXPECT_THAT(messageOf([&] { files().rename(path("new"), path("new/inside")); }), HasSubstr("rename"));
  EXPECT_THAT(messageOf([&] { files().rename(path("new"), path("none/new")); }), HasSubstr("No such file"));
  EXPECT_EQ(content("new/a"), "a");
  files().remove(path("sub/b"));
  files().rename(path("new"), path("sub"));
  EXPECT_EQ(content("sub/a"), "a");
}

TEST_P(AnyFileSystem, LocksAreSharedByReadersOnly) {
  make("a", "text");
  auto first = files().tryLockShared(path("a"));
  auto second = files().tryLockShared(path("a"));
  ASSERT_TRUE(first);
  ASSERT_TRUE(second);
  EXPECT_TRUE(second->isInPlace());
  EXPECT_FALSE(files().tryLock(path("a")));
  first.reset();
  EXPECT_FALSE(files().tryLock(path("a")));
  second.reset();
  const auto alone = files().tryLock(path("a"));
  ASSERT_TRUE(alone);
  EXPECT_FALSE(files().tryLockShared(path("a")));
  EXPECT_THAT(messageOf([&] { files().tryLockShared(path("none")); }), HasSubstr("No such file"));
}

TEST_P(AnyFileSystem, TheHolderOfALockMayWriteTheFile) {
  make("a", "a longer text");
  const auto lock = files().tryLock(path("a"));
  ASSERT_TRUE(lock);
  lock->write("short");
  EXPECT_EQ(content("a"), "short");
  lock->write("");
  EXPECT_EQ(content("a"), "");
}

TEST_P(AnyFileSystem, RefusalsTellTheirNumber) {
  try {
    files().openForReading(path("none"), FileSystem::Links::follow);
    ADD_FAILURE() << "nothing was refused";
  } catch (const hxvoxora::FileError& error) {
    EXPECT_EQ(error.number(), ENOENT);
    EXPECT_FALSE(error.isDiskFull());
  }
  EXPECT_TRUE(hxvoxora::FileError("write a: No space left on device", ENOSPC).isDiskFull());
  EXPECT_TRUE(hxvoxora::FileError("write a: Disk quota exceeded", EDQUOT).isDiskFull());
}

TEST_P(AnyFileSystem, FoldersInOneAnotherAreOneFileSystem) {
  EXPECT_TRUE(files().isOneFileSystem(folder(), path("sub")));
}

INSTANTIATE_TEST_SUITE_P(Files, AnyFileSystem, testing::Values("memory", "posix"),
                         [](const auto& instance) { return instance.param; });

TEST(MemoryFileSystem, ContentChangedInPlaceShowsInTheIdentity) {
  MemoryFileSystem files;
  files.setContent("a", toBytes("text"));
  const auto open = files.openForReading("a", FileSystem::Links::refuse);
  const auto before = open->identity();
  files.setContent("a", toBytes("TEXT"));
  EXPECT_TRUE(open->identity().sameFile(before));
  EXPECT_NE(open->identity(), before);
}

TEST_F(PosixFiles, LinksAreFollowedOnlyWhenAllowed) {
  std::ofstream(path("a")) << "text";
  std::filesystem::create_symlink("a", path("link"));
  std::filesystem::create_symlink("loop", path("loop"));
  EXPECT_NO_THROW(files_.openForReading(path("link"), FileSystem::Links::follow));
  EXPECT_THAT(openMessage("link", FileSystem::Links::refuse), HasSubstr(path("link")));
  EXPECT_THAT(openMessage("loop", FileSystem::Links::follow), HasSubstr(path("loop")));
  EXPECT_EQ(files_.kind(path("link")), FileKind::link);
  EXPECT_EQ(files_.kind(path("loop")), FileKind::link);
}

TEST_F(PosixFiles, PipesAndDevicesAreRefusedWithoutWaiting) {
  ASSERT_EQ(::mkfifo(path("pipe").c_str(), 0600), 0);
  EXPECT_THAT(openMessage("pipe", FileSystem::Links::follow), HasSubstr("not a regular file"));
  EXPECT_EQ(files_.kind(path("pipe")), FileKind::other);
  EXPECT_THAT(messageOf([&] { files_.openForReading("/dev/zero", FileSystem::Links::follow); }),
              HasSubstr("/dev/zero: not a regular file"));
}

TEST_F(PosixFiles, NewFilesBelongToTheOwnerAndFollowNoLink) {
  files_.createExclusively(path("a"), FileSystem::Access::ownerOnly);
  struct stat info {};
  ASSERT_EQ(::stat(path("a").c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777u, 0600u);
  const mode_t mask = ::umask(027);
  files_.createExclusively(path("shared"), FileSystem::Access::byMask);
  ::umask(mask);
  ASSERT_EQ(::stat(path("shared").c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777u, 0640u);
  std::filesystem::create_symlink(path("canary"), path("planted"));
  EXPECT_THAT(messageOf([&] { files_.createExclusively(path("planted"), FileSystem::Access::ownerOnly); }),
              HasSubstr(path("planted")));
  EXPECT_FALSE(std::filesystem::exists(path("canary")));
}

TEST_F(PosixFiles, PrivateFoldersBelongToTheUserAlone) {
  const auto refusal = [&](const char* name) { return messageOf([&] { files_.makePrivateDirectory(path(name)); }); };
  const auto modeOf = [&](const char* name) {
    struct stat info {};
    EXPECT_EQ(::lstat(path(name).c_str(), &info), 0);
    return info.st_mode & 07777u;
  };
  files_.makePrivateDirectory(path("own"));
  EXPECT_EQ(modeOf("own"), 0700u);
  ASSERT_EQ(::chmod(path("own").c_str(), 0755), 0);
  files_.makePrivateDirectory(path("own"));
  EXPECT_EQ(modeOf("own"), 0700u);
  ASSERT_EQ(::chmod(path("own").c_str(), 0770), 0);
  EXPECT_THAT(refusal("own"), AllOf(HasSubstr(path("own")), HasSubstr("others may write")));
  std::filesystem::create_directory(path("elsewhere"));
  std::filesystem::create_symlink("elsewhere", path("link"));
  EXPECT_THAT(refusal("link"), AllOf(HasSubstr(path("link")), HasSubstr("not a folder")));
  if (::geteuid() != 0) return;
  std::filesystem::create_directory(path("foreign"));
  ASSERT_EQ(::chown(path("foreign").c_str(), 12345, 12345), 0);
  EXPECT_THAT(refusal("foreign"), AllOf(HasSubstr(path("foreign")), HasSubstr("another user")));
}

TEST_F(PosixFiles, OtherFileSystemsAreToldApart) {
  EXPECT_FALSE(files_.isOneFileSystem(folder_.path(), "/proc"));
  EXPECT_THAT(messageOf([&] { files_.isOneFileSystem(folder_.path(), path("none")); }), HasSubstr(path("none")));
}

TEST_F(PosixFiles, NewFoldersFollowTheMask) {
  const auto modeOf = [&](const char* name) {
    struct stat info {};
    EXPECT_EQ(::lstat(path(name).c_str(), &info), 0);
    return info.st_mode & 07777u;
  };
  const mode_t mask = ::umask(027);
  files_.createDirectory(path("shared"), FileSystem::Access::byMask);
  files_.createDirectory(path("own"), FileSystem::Access::ownerOnly);
  ::umask(mask);
  EXPECT_EQ(modeOf("shared"), 0750u);
  EXPECT_EQ(modeOf("own"), 0700u);
}

TEST_F(PosixFiles, LocksFollowNoLink) {
  std::ofstream(path("a")) << "text";
  std::filesystem::create_symlink("a", path("link"));
  EXPECT_THAT(messageOf([&] { files_.tryLock(path("link")); }), HasSubstr(path("link")));
}

TEST_F(PosixFiles, LocksHoldBetweenProcessesAndEndWithThem) {
  std::ofstream(path("a")) << "text";
  int locked[2];
  ASSERT_EQ(::pipe(locked), 0);
  const pid_t child = ::fork();
  ASSERT_GE(child, 0);
  if (child == 0) {
    const auto lock = files_.tryLock(path("a"));
    const char answer = lock ? 'y' : 'n';
    if (::write(locked[1], &answer, 1) == 1) ::pause();
    ::_exit(1);
  }
  char answer = 0;
  ASSERT_EQ(::read(locked[0], &answer, 1), 1);
  EXPECT_EQ(answer, 'y');
  EXPECT_FALSE(files_.tryLock(path("a")));
  ASSERT_EQ(::kill(child, SIGKILL), 0);
  ASSERT_EQ(::waitpid(child, nullptr, 0), child);
  EXPECT_TRUE(files_.tryLock(path("a")));
  ::close(locked[0]);
  ::close(locked[1]);
}

TEST_F(PosixFiles, DescriptorsAreNotInherited) {
  std::ofstream(path("a")) << "text";
  const auto input = files_.openForReading(path("a"), FileSystem::Links::refuse);
  const auto output = files_.createExclusively(path("b"), FileSystem::Access::ownerOnly);
  const auto lock = files_.tryLock(path("b"));
  int open = 0;
  for (int descriptor = 3; descriptor < 64; ++descriptor) {
    std::error_code error;
    const auto target = std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(descriptor), error);
    if (error || target.parent_path() != std::filesystem::canonical(folder_.path())) continue;
    ++open;
    EXPECT_NE(::fcntl(descriptor, F_GETFD) & FD_CLOEXEC, 0) << target;
  }
  EXPECT_EQ(open, 3);
}

TEST_F(PosixFiles, ExhaustedDescriptorsAreAClearError) {
  std::ofstream(path("a")) << "text";
  rlimit old{};
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &old), 0);
  const rlimit few{3, old.rlim_max};
  // A sanitizer needs a descriptor when it meets a class for the first time.
  EXPECT_THAT(openMessage("none", FileSystem::Links::refuse), HasSubstr(path("none")));
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &few), 0);
  const std::string message = openMessage("a", FileSystem::Links::refuse);
  ASSERT_EQ(::setrlimit(RLIMIT_NOFILE, &old), 0);
  EXPECT_THAT(message, AllOf(HasSubstr(path("a")), HasSubstr("Too many open files")));
}

TEST_F(PosixFiles, FullDisksAreReported) {
  if (::access("/dev/full", W_OK) != 0) GTEST_SKIP() << "there is no /dev/full";
  // The file system does not open devices, so the descriptor of an own file is led there.
  const auto file = files_.createExclusively(path("a"), FileSystem::Access::ownerOnly);
  const int full = ::open("/dev/full", O_WRONLY | O_CLOEXEC);
  for (int descriptor = 3; descriptor < 64; ++descriptor) {
    std::error_code error;
    const auto target = std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(descriptor), error);
    if (!error && target.filename() == "a") ::dup2(full, descriptor);
  }
  ::close(full);
  EXPECT_THAT(messageOf([&] { file->append(toBytes("text")); }),
              AllOf(HasSubstr("write " + path("a")), HasSubstr("No space left")));
}

TEST_F(PosixFiles, NamesWithNulAreRefused) {
  EXPECT_THAT(messageOf([&] { files_.createExclusively(path(std::string("a\0b", 3)), FileSystem::Access::ownerOnly); }),
              HasSubstr("open"));
  EXPECT_FALSE(std::filesystem::exists(path("a")));
}

TEST_F(PosixFiles, PathsThroughAFileAreErrors) {
  std::ofstream(path("a")) << "text";
  EXPECT_THAT(messageOf([&] { files_.kind(path("a/b")); }), HasSubstr("Not a directory"));
  EXPECT_THAT(messageOf([&] { files_.list(path("a")); }), HasSubstr(path("a")));
}
