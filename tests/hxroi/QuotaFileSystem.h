#pragma once

#include <string>

#include "quarn/voxora/files/PassingFileSystem.h"

/// Another file system that has room for so many bytes below one folder, and is full after that.
class QuotaFileSystem : public hxvoxora::PassingFileSystem {
public:
  QuotaFileSystem(FileSystem& base, const std::string& root) : PassingFileSystem(base), root_(root) {}

  /// `bytes` of all files together. What is claimed to be free is that much more.
  void setRoom(std::uint64_t bytes, std::uint64_t claimed = 0) {
    room_ = bytes;
    claimed_ = claimed;
  }

  /// Bytes of all files below the folder.
  std::uint64_t used() const;

  std::unique_ptr<hxvoxora::OutputFile> createExclusively(const std::string& path, Access access) override;
  std::uint64_t freeSpace(const std::string& directory) override;

private:
  class Output;

  const std::string root_;
  std::uint64_t room_ = UINT64_MAX;
  std::uint64_t claimed_ = 0;
};
