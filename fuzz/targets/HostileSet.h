#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "quarn/voxora/files/FileSystem.h"

namespace fuzz {

/// A file system that holds nothing but the set "/v/a.ldm". Its data file is as long as one likes: behind the head it
/// reads as zeros, and takes no memory. Every change is refused.
class HostileSet : public hxvoxora::FileSystem {
public:
  HostileSet(std::string header, std::span<const std::byte> index, std::vector<std::byte> dataHead,
             std::uint64_t dataBytes);

  std::unique_ptr<hxvoxora::InputFile> openForReading(const std::string& path, Links links) override;
  std::unique_ptr<hxvoxora::OutputFile> createExclusively(const std::string& path, Access access) override;
  void rename(const std::string& from, const std::string& to) override;
  bool remove(const std::string& path) override;
  hxvoxora::FileKind kind(const std::string& path) override;
  std::vector<std::string> list(const std::string& directory) override;
  void syncDirectory(const std::string& directory) override;
  void makePrivateDirectory(const std::string& path) override;
  void createDirectory(const std::string& path, Access access) override;
  bool removeDirectory(const std::string& path) override;
  bool isWritable(const std::string& directory) override;
  std::unique_ptr<hxvoxora::FileLock> tryLock(const std::string& path) override;
  std::unique_ptr<hxvoxora::FileLock> tryLockShared(const std::string& path) override;
  bool isOneFileSystem(const std::string& directory, const std::string& other) override;
  std::uint64_t freeSpace(const std::string& directory) override;

private:
  const std::string header_;
  const std::span<const std::byte> index_;
  const std::vector<std::byte> dataHead_;
  const std::uint64_t dataBytes_;
};

}  // namespace fuzz
