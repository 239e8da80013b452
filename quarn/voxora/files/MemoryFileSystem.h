#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <vector>

#include "quarn/voxora/files/FileSystem.h"

namespace hxvoxora {

/// A file system that lives in memory, for tests and for volumes that never reach a disk.
///
/// Paths are compared as texts, apart from doubled and trailing slashes. Folders must be made with makeDirectory;
/// "/" and the empty path (the working folder) are always there. Files that are open keep their content when their
/// name is removed or given to another file.
class QUARN_VOXORA_API MemoryFileSystem : public FileSystem {
public:
  using Bytes = std::vector<std::byte>;

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
  /// The amount given to setFreeSpace, however much is stored; without limit at the start.
  std::uint64_t freeSpace(const std::string& directory) override;

  /// Makes a folder and those above it; harmless when it exists.
  void makeDirectory(const std::string& path);

  /// The whole content of a file.
  Bytes content(const std::string& path);

  /// Makes a file with this content. A file of that name is written over in place: it stays the same file, and
  /// readers that have it open see the new bytes.
  void setContent(const std::string& path, Bytes bytes);

  /// What freeSpace answers from now on.
  void setFreeSpace(std::uint64_t bytes);

  /// One file: its bytes and what identity() tells of it. Opened files share it.
  struct Node;

private:
  class Lock;

  bool isEmptyFolder(const std::string& path) const;
  void renameFolder(const std::string& from, const std::string& to);
  std::shared_ptr<Node> find(const std::string& path, const char* call) const;
  void requireFolderOf(const std::string& path, const char* call) const;
  std::shared_ptr<Node> makeNode();

  mutable std::mutex mutex_;
  std::map<std::string, std::shared_ptr<Node>> files_;
  std::set<std::string> folders_;
  std::uint64_t nextSerial_ = 1;
  std::uint64_t freeSpace_ = UINT64_MAX;
};

}  // namespace hxvoxora
