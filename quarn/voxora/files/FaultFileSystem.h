#pragma once

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "quarn/voxora/files/FileSystem.h"

namespace hxvoxora {

/// The calls that a file system and its open files take.
enum class FileCall {
  open,             ///< FileSystem::openForReading
  create,           ///< FileSystem::createExclusively
  read,             ///< InputFile::readAt
  identity,         ///< InputFile::identity
  write,            ///< OutputFile::append, FileLock::write
  sync,             ///< OutputFile::sync
  close,            ///< OutputFile::close
  rename,           ///< FileSystem::rename
  remove,           ///< FileSystem::remove
  kind,             ///< FileSystem::kind
  list,             ///< FileSystem::list
  syncDirectory,    ///< FileSystem::syncDirectory
  makeDirectory,    ///< FileSystem::makePrivateDirectory, FileSystem::createDirectory
  removeDirectory,  ///< FileSystem::removeDirectory
  isWritable,       ///< FileSystem::isWritable; it fails by answering false
  lock,             ///< FileSystem::tryLock, FileSystem::tryLockShared
  device,           ///< FileSystem::isOneFileSystem
  freeSpace         ///< FileSystem::freeSpace
};

/// The name of the system call behind a call, as messages have it: "open", "write", "fsync", ...
QUARN_VOXORA_API const char* fileCallName(FileCall call);

/// Another file system whose calls are counted, and fail when asked to; for tests.
///
/// A walk over every call that some work makes:
///
///     for (std::uint64_t call = 1;; ++call) {
///       FaultFileSystem files(base);
///       files.arm({.call = call});
///       // the work, which may throw
///       if (!files.hasFailed()) break;
///       files.disarm();
///       // what must hold after a fault
///     }
///
/// All calls may come from several threads at once; which of them has which number is then up to chance.
class QUARN_VOXORA_API FaultFileSystem : public FileSystem {
public:
  /// Which calls behind the one that fails do so too.
  enum class Extent {
    once,     ///< none
    forever,  ///< all that the fault counts
    killed    ///< all, of whatever kind: nothing is cleaned up, as after the end of the process
  };

  /// What is to go wrong. A call that fails changes nothing, apart from the part of a write that `writtenBytes` lets
  /// through, and throws FileError "<call> <path>: <reason>".
  struct Fault {
    std::uint64_t call = 1;             ///< number of the first call that fails, from 1
    std::optional<FileCall> only = {};  ///< when set, only calls of this kind are counted
    Extent extent = Extent::once;
    std::string reason = "No space left on device";
    int number = ENOSPC;           ///< what FileError::number() tells
    std::size_t writtenBytes = 0;  ///< bytes of the first failing write that reach the file; at most all but one
  };

  /// A call that was made.
  struct Call {
    FileCall kind;
    std::string path;  ///< of a rename: "FROM to TO"
    bool failed;
  };

  /// `base` must outlive this object and the files it opened; these must not outlive this object.
  explicit FaultFileSystem(FileSystem& base) : base_(base) {}

  /// Counts from now on, and fails as told. The log starts anew.
  void arm(const Fault& fault);

  /// No more faults; counting and the log go on.
  void disarm();

  /// Whether a call failed since arm().
  bool hasFailed() const;

  /// Calls since the beginning, or since arm().
  std::vector<Call> log() const;
  std::uint64_t callCount() const;
  std::uint64_t callCount(FileCall kind) const;

  std::unique_ptr<InputFile> openForReading(const std::string& path, Links links) override;
  std::unique_ptr<OutputFile> createExclusively(const std::string& path, Access access) override;
  void rename(const std::string& from, const std::string& to) override;
  bool remove(const std::string& path) override;
  FileKind kind(const std::string& path) override;
  std::vector<std::string> list(const std::string& directory) override;
  void syncDirectory(const std::string& directory) override;
  void makePrivateDirectory(const std::string& path) override;
  void createDirectory(const std::string& path, Access access) override;
  bool removeDirectory(const std::string& path) override;
  bool isWritable(const std::string& directory) override;
  std::unique_ptr<FileLock> tryLock(const std::string& path) override;
  std::unique_ptr<FileLock> tryLockShared(const std::string& path) override;
  bool isOneFileSystem(const std::string& directory, const std::string& other) override;
  std::uint64_t freeSpace(const std::string& directory) override;

private:
  class Input;
  class Output;
  class Lock;

  /// Notes a call. The message of its failure when it is to fail; `written`, when given, gets the bytes that a failing
  /// write still writes.
  std::optional<std::string> note(FileCall kind, const std::string& path, std::size_t* written = nullptr);
  void step(FileCall kind, const std::string& path);
  std::unique_ptr<FileLock> watched(std::unique_ptr<FileLock> lock);
  [[noreturn]] void fail(const std::string& text) const;

  FileSystem& base_;
  mutable std::mutex mutex_;  // guards everything below
  std::optional<Fault> fault_;
  std::uint64_t counted_ = 0;
  bool hasFailed_ = false;
  std::vector<Call> log_;
};

}  // namespace hxvoxora
