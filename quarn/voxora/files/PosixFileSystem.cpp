#include "quarn/voxora/files/PosixFileSystem.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <dirent.h>
#include <fcntl.h>
#include <string_view>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include "quarn/voxora/files/detail/Descriptor.h"
#include "quarn/voxora/files/detail/systemError.h"

namespace hxvoxora {

namespace {

using detail::Descriptor;
using detail::systemError;

/// Some systems refuse to move 2 GiB or more in one call.
constexpr std::size_t maxBytesPerCall = std::size_t{1} << 30;

/// Repeats a call that a signal interrupted.
template <class Call>
auto uninterrupted(Call call) {
  for (;;) {
    const auto result = call();
    if (result != -1 || errno != EINTR) return result;
  }
}

/// Bytes that a write has moved. One that moves none would be repeated for ever.
std::size_t written(ssize_t count, const std::string& path) {
  if (count < 0) throw systemError("write", path, errno);
  if (count == 0) throw systemError("write", path, ENOSPC);
  return static_cast<std::size_t>(count);
}

/// An interrupted one has not failed: the bytes are still to be written.
int syncDescriptor(int descriptor) {
  return uninterrupted([&] { return ::fsync(descriptor); });
}

class PosixInputFile : public InputFile {
public:
  PosixInputFile(const std::string& path, Descriptor descriptor)
      : InputFile(path), descriptor_(std::move(descriptor)) {}

  std::size_t readAt(std::uint64_t offset, std::span<std::byte> out) const override {
    std::size_t done = 0;
    while (done < out.size()) {
      const std::size_t piece = std::min(out.size() - done, maxBytesPerCall);
      const ssize_t count = uninterrupted(
          [&] { return ::pread(descriptor_.get(), out.data() + done, piece, static_cast<off_t>(offset + done)); });
      if (count < 0) throw systemError("read", path(), errno);
      if (count == 0) break;
      done += static_cast<std::size_t>(count);
    }
    return done;
  }

  FileIdentity identity() const override {
    struct stat info {};
    if (::fstat(descriptor_.get(), &info) != 0) throw systemError("fstat", path(), errno);
    FileIdentity identity;
    identity.device = info.st_dev;
    identity.serial = info.st_ino;
    identity.size = static_cast<std::uint64_t>(info.st_size);
    identity.changedNanos = std::int64_t{info.st_mtim.tv_sec} * 1'000'000'000 + info.st_mtim.tv_nsec;
    return identity;
  }

private:
  Descriptor descriptor_;
};

class PosixOutputFile : public OutputFile {
public:
  PosixOutputFile(const std::string& path, Descriptor descriptor)
      : OutputFile(path), descriptor_(std::move(descriptor)) {}

  void append(std::span<const std::byte> bytes) override {
    while (!bytes.empty()) {
      const std::size_t piece = std::min(bytes.size(), maxBytesPerCall);
      const ssize_t count = uninterrupted([&] { return ::write(descriptor_.get(), bytes.data(), piece); });
      bytes = bytes.subspan(written(count, path()));
    }
  }

  void sync() override {
    if (syncDescriptor(descriptor_.get()) != 0) throw systemError("fsync", path(), errno);
  }

  void close() override {
    if (const int error = descriptor_.close()) throw systemError("close", path(), error);
  }

private:
  Descriptor descriptor_;
};

Descriptor openPath(const std::string& path, int flags, mode_t mode = 0) {
  // An embedded NUL would silently name another file.
  if (path.find('\0') != std::string::npos) throw systemError("open", path.c_str(), EINVAL);
  Descriptor descriptor(uninterrupted([&] { return ::open(path.c_str(), flags | O_CLOEXEC, mode); }));
  if (!descriptor.isOpen()) throw systemError("open", path, errno);
  return descriptor;
}

/// Opens what must be a regular file; never waits for a pipe or device.
Descriptor openRegular(const std::string& path, int flags) {
  Descriptor descriptor = openPath(path, flags | O_NONBLOCK | O_NOCTTY);
  struct stat info {};
  if (::fstat(descriptor.get(), &info) != 0) throw systemError("fstat", path, errno);
  if (!S_ISREG(info.st_mode)) throw McException("open " + McException::excerpt(path) + ": not a regular file");
  return descriptor;
}

class PosixFileLock : public FileLock {
public:
  PosixFileLock(const std::string& path, Descriptor descriptor) : FileLock(path), descriptor_(std::move(descriptor)) {}

  bool isInPlace() const override {
    struct stat locked {};
    struct stat named {};
    return ::fstat(descriptor_.get(), &locked) == 0 && ::lstat(path().c_str(), &named) == 0 &&
           locked.st_dev == named.st_dev && locked.st_ino == named.st_ino;
  }

  void write(std::string_view text) override {
    if (::ftruncate(descriptor_.get(), 0) != 0) throw systemError("ftruncate", path(), errno);
    for (std::size_t done = 0; done < text.size();) {
      const ssize_t count = uninterrupted([&] {
        return ::pwrite(descriptor_.get(), text.data() + done, text.size() - done, static_cast<off_t>(done));
      });
      done += written(count, path());
    }
  }

private:
  Descriptor descriptor_;
};

/// A lock of the open file: one of the process would end with any other close of the same file.
std::unique_ptr<FileLock> tryToLock(const std::string& path, int openFlags, short kind) {
  Descriptor descriptor = openRegular(path, openFlags | O_NOFOLLOW);
  struct flock whole {};
  whole.l_type = kind;
  whole.l_whence = SEEK_SET;
  if (::fcntl(descriptor.get(), F_OFD_SETLK, &whole) != 0) {
    if (errno == EAGAIN || errno == EACCES) return nullptr;
    throw systemError("fcntl", path, errno);
  }
  auto lock = std::make_unique<PosixFileLock>(path, std::move(descriptor));
  if (!lock->isInPlace()) return nullptr;
  return lock;
}

FileKind kindOf(const struct stat& info) {
  if (S_ISREG(info.st_mode)) return FileKind::regular;
  if (S_ISDIR(info.st_mode)) return FileKind::directory;
  return S_ISLNK(info.st_mode) ? FileKind::link : FileKind::other;
}

/// Where a folder lies. One device may be mounted at several places, between which nothing can be renamed.
struct FolderPlace {
  dev_t device = 0;
  std::uint64_t mount = 0;  ///< 0 where the system does not tell
};

FolderPlace placeOf(const std::string& directory) {
  const std::string& path = directory.empty() ? "." : directory;
  FolderPlace place;
  struct stat info {};
  if (::stat(path.c_str(), &info) != 0) throw systemError("stat", path, errno);
  place.device = info.st_dev;
#ifdef STATX_MNT_ID
  struct statx more {};
  if (::statx(AT_FDCWD, path.c_str(), 0, STATX_MNT_ID, &more) == 0 && (more.stx_mask & STATX_MNT_ID)) {
    place.mount = more.stx_mnt_id;
  }
#endif
  return place;
}

}  // namespace

std::unique_ptr<InputFile> PosixFileSystem::openForReading(const std::string& path, Links links) {
  Descriptor descriptor = openRegular(path, O_RDONLY | (links == Links::refuse ? O_NOFOLLOW : 0));
  return std::make_unique<PosixInputFile>(path, std::move(descriptor));
}

std::unique_ptr<OutputFile> PosixFileSystem::createExclusively(const std::string& path, Access access) {
  const mode_t mode = access == Access::ownerOnly ? 0600 : 0666;
  return std::make_unique<PosixOutputFile>(path, openPath(path, O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, mode));
}

void PosixFileSystem::rename(const std::string& from, const std::string& to) {
  if (std::rename(from.c_str(), to.c_str()) != 0) throw systemError("rename", from + " to " + to, errno);
}

bool PosixFileSystem::remove(const std::string& path) {
  if (::unlink(path.c_str()) == 0) return true;
  if (errno == ENOENT) return false;
  throw systemError("unlink", path, errno);
}

FileKind PosixFileSystem::kind(const std::string& path) {
  struct stat info {};
  if (::lstat(path.c_str(), &info) == 0) return kindOf(info);
  if (errno == ENOENT) return FileKind::missing;
  throw systemError("lstat", path, errno);
}

std::vector<std::string> PosixFileSystem::list(const std::string& directory) {
  const std::string& path = directory.empty() ? "." : directory;
  const std::unique_ptr<DIR, int (*)(DIR*)> stream(::opendir(path.c_str()), ::closedir);
  if (!stream) throw systemError("opendir", path, errno);
  std::vector<std::string> names;
  for (;;) {
    errno = 0;
    const dirent* entry = ::readdir(stream.get());
    if (!entry && errno != 0) throw systemError("readdir", path, errno);
    if (!entry) break;
    const std::string_view name = entry->d_name;
    if (name != "." && name != "..") names.emplace_back(name);
  }
  std::sort(names.begin(), names.end());
  return names;
}

void PosixFileSystem::syncDirectory(const std::string& directory) {
  const std::string& path = directory.empty() ? "." : directory;
  const Descriptor descriptor = openPath(path, O_RDONLY | O_DIRECTORY);
  // Some file systems cannot sync folders and say so; there is nothing more to be done on them.
  if (syncDescriptor(descriptor.get()) != 0 && errno != EINVAL) throw systemError("fsync", path, errno);
}

void PosixFileSystem::makePrivateDirectory(const std::string& path) {
  struct stat info {};
  const bool isMissing = ::lstat(path.c_str(), &info) != 0;
  if (isMissing && ::mkdir(path.c_str(), S_IRWXU) != 0 && errno != EEXIST) throw systemError("mkdir", path, errno);
  if (isMissing && ::lstat(path.c_str(), &info) != 0) throw systemError("lstat", path, errno);
  const auto refuse = [&](const char* why) { throw McException(McException::excerpt(path) + ": " + why); };
  if (!S_ISDIR(info.st_mode)) refuse("is not a folder");
  if (info.st_uid != ::geteuid()) refuse("is the folder of another user");
  if (info.st_mode & (S_IWGRP | S_IWOTH)) refuse("others may write into the folder");
  const bool isOpenToOthers = (info.st_mode & (S_IRWXG | S_IRWXO)) != 0;
  if (isOpenToOthers && ::chmod(path.c_str(), S_IRWXU) != 0) throw systemError("chmod", path, errno);
}

void PosixFileSystem::createDirectory(const std::string& path, Access access) {
  const mode_t mode = access == Access::ownerOnly ? 0700 : 0777;
  if (::mkdir(path.c_str(), mode) != 0) throw systemError("mkdir", path, errno);
}

bool PosixFileSystem::removeDirectory(const std::string& path) {
  if (::rmdir(path.c_str()) == 0) return true;
  if (errno == ENOENT) return false;
  throw systemError("rmdir", path, errno);
}

bool PosixFileSystem::isWritable(const std::string& directory) {
  const std::string& path = directory.empty() ? "." : directory;
  struct stat info {};
  return ::stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode) &&
         ::faccessat(AT_FDCWD, path.c_str(), W_OK | X_OK, AT_EACCESS) == 0;
}

std::unique_ptr<FileLock> PosixFileSystem::tryLock(const std::string& path) {
  return tryToLock(path, O_RDWR, F_WRLCK);
}

std::unique_ptr<FileLock> PosixFileSystem::tryLockShared(const std::string& path) {
  return tryToLock(path, O_RDONLY, F_RDLCK);
}

bool PosixFileSystem::isOneFileSystem(const std::string& directory, const std::string& other) {
  const FolderPlace a = placeOf(directory);
  const FolderPlace b = placeOf(other);
  return a.device == b.device && a.mount == b.mount;
}

std::uint64_t PosixFileSystem::freeSpace(const std::string& directory) {
  const std::string& path = directory.empty() ? "." : directory;
  struct statvfs info {};
  if (::statvfs(path.c_str(), &info) != 0) throw systemError("statvfs", path, errno);
  return std::uint64_t{info.f_bavail} * info.f_frsize;
}

}  // namespace hxvoxora
