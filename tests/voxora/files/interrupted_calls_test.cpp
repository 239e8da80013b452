#include <algorithm>
#include <atomic>
#include <cerrno>
#include <dlfcn.h>
#include <functional>
#include <gtest/gtest.h>
#include <numeric>
#include <sys/types.h>
#include <vector>

#include "quarn/voxora/files/FileError.h"
#include "quarn/voxora/files/FileSystem.h"
#include "tests/voxora/files/temporary_folder.h"

/// System calls that a signal interrupts, that move fewer bytes than they were asked to, or that fail: the calls of the
/// C library go through the functions below first.

namespace {

/// What goes wrong with the calls of this thread.
struct Trouble {
  int interruptions = 0;             ///< each call fails so many times with EINTR before it goes through
  std::size_t mostBytes = SIZE_MAX;  ///< that one call moves
  int error = 0;                     ///< all calls fail with this
  int interruptionsLeft = 0;
  int calls = 0;
};
thread_local Trouble* trouble = nullptr;

/// Whether the call is to fail, errno being set.
bool fails() {
  if (!trouble) return false;
  ++trouble->calls;
  if (trouble->error != 0) {
    errno = trouble->error;
    return true;
  }
  if (trouble->interruptionsLeft-- > 0) {
    errno = EINTR;
    return true;
  }
  trouble->interruptionsLeft = trouble->interruptions;
  return false;
}

std::size_t cut(std::size_t size) {
  return trouble ? std::min(size, trouble->mostBytes) : size;
}

template <class Function>
Function* next(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

// The types are those of the C library's own functions.
extern "C" {

__attribute__((visibility("default"))) ssize_t write(int file, const void* data, std::size_t size) {
  static auto* const real = next<ssize_t(int, const void*, std::size_t)>("write");
  return fails() ? -1 : real(file, data, cut(size));
}

__attribute__((visibility("default"))) ssize_t pwrite(int file, const void* data, std::size_t size, off_t offset) {
  static auto* const real = next<ssize_t(int, const void*, std::size_t, off_t)>("pwrite");
  return fails() ? -1 : real(file, data, cut(size), offset);
}

__attribute__((visibility("default"))) ssize_t pread(int file, void* data, std::size_t size, off_t offset) {
  static auto* const real = next<ssize_t(int, void*, std::size_t, off_t)>("pread");
  return fails() ? -1 : real(file, data, cut(size), offset);
}

__attribute__((visibility("default"))) int fsync(int file) {
  static auto* const real = next<int(int)>("fsync");
  return fails() ? -1 : real(file);
}

}  // extern "C"

namespace {

using hxvoxora::FileSystem;

class InterruptedCalls : public ::testing::Test {
protected:
  InterruptedCalls() : bytes_(100000) { std::iota(bytes_.begin(), bytes_.end(), std::uint8_t{0}); }
  ~InterruptedCalls() override { trouble = nullptr; }

  std::string path() const { return folder_.path() + "/file"; }

  /// Runs `work` with the trouble; returns how many calls it made.
  static int with(Trouble given, const std::function<void()>& work) {
    given.interruptionsLeft = given.interruptions;
    trouble = &given;
    try {
      work();
    } catch (...) {
      trouble = nullptr;
      throw;
    }
    trouble = nullptr;
    return given.calls;
  }

  void write() const {
    const auto file = FileSystem::posix().createExclusively(path(), FileSystem::Access::byMask);
    file->append(std::as_bytes(std::span(bytes_)));
    file->sync();
    file->close();
  }

  std::vector<std::uint8_t> read() const {
    const auto file = FileSystem::posix().openForReading(path(), FileSystem::Links::refuse);
    std::vector<std::uint8_t> found(bytes_.size() + 1);
    found.resize(file->readAt(0, std::as_writable_bytes(std::span(found))));
    return found;
  }

  /// The error number of what `work` throws; 0 when it throws nothing.
  static int errorOf(const Trouble& given, const std::function<void()>& work) {
    try {
      with(given, work);
    } catch (const hxvoxora::FileError& failure) {
      return failure.number();
    }
    return 0;
  }

  const TemporaryFolder folder_;
  std::vector<std::uint8_t> bytes_;
};

TEST_F(InterruptedCalls, WritesGoOn) {
  const int calls = with({.interruptions = 3, .mostBytes = 4097}, [&] { write(); });
  EXPECT_GE(calls, 4 * 25);
  EXPECT_EQ(read(), bytes_);
}

TEST_F(InterruptedCalls, ReadsGoOn) {
  write();
  std::vector<std::uint8_t> found;
  const int calls = with({.interruptions = 2, .mostBytes = 777}, [&] { found = read(); });
  EXPECT_GE(calls, 3 * 128);
  EXPECT_EQ(found, bytes_);
}

TEST_F(InterruptedCalls, FoldersAreSyncedAllTheSame) {
  EXPECT_GE(with({.interruptions = 5}, [&] { FileSystem::posix().syncDirectory(folder_.path()); }), 6);
}

TEST_F(InterruptedCalls, TheTextOfALockIsWhole) {
  write();
  const auto lock = FileSystem::posix().tryLock(path());
  ASSERT_TRUE(lock);
  const std::string text = "process 1 on here";
  with({.interruptions = 1, .mostBytes = 5}, [&] { lock->write(text); });
  EXPECT_EQ(read(), std::vector<std::uint8_t>(text.begin(), text.end()));
}

TEST_F(InterruptedCalls, FailuresAreTold) {
  for (const int error : {ENOSPC, EIO, EDQUOT, EROFS, EACCES}) {
    EXPECT_EQ(errorOf({.error = error}, [&] { write(); }), error);
    FileSystem::posix().remove(path());
    EXPECT_EQ(errorOf({.error = error}, [&] { FileSystem::posix().syncDirectory(folder_.path()); }), error);
    write();
    EXPECT_EQ(errorOf({.error = error}, [&] { read(); }), error);
    FileSystem::posix().remove(path());
  }
}

TEST_F(InterruptedCalls, AWriteThatMovesNothingIsAFullDisk) {
  EXPECT_EQ(errorOf({.mostBytes = 0}, [&] { write(); }), ENOSPC);
}

}  // namespace
