#pragma once

#include "quarn/voxora/files/FileSystem.h"

namespace hxvoxora {

/// Another file system for files that only have to outlast the process: nothing that is written here waits for stable
/// storage. After the end of the computer such files may be torn, so whoever finds some has to check them.
class QUARN_VOXORA_API PassingFileSystem : public FileSystem {
public:
  /// `base` must outlive this object and the files that it made.
  explicit PassingFileSystem(FileSystem& base) : base_(base) {}

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
  FileSystem& base_;
};

}  // namespace hxvoxora
