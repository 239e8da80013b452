#pragma once

#include "quarn/voxora/files/FileSystem.h"

namespace hxvoxora {

/// The files of this computer through the POSIX calls. Without state; FileSystem::posix() is the instance to use.
class QUARN_VOXORA_API PosixFileSystem : public FileSystem {
public:
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
};

}  // namespace hxvoxora
