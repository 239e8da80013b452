#pragma once

#include <string>
#include <utility>

#include "quarn/voxora/export.h"

namespace hxvoxora {

/// A file that its holder has locked against everybody else who locks it; reading, writing, renaming and removing it is
/// not hindered. Destroying the object unlocks the file, and does not remove it. Any thread.
class QUARN_VOXORA_API FileLock {
public:
  virtual ~FileLock();

  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;

  /// The path the file was locked by.
  const std::string& path() const { return path_; }

  /// Whether the path still names the locked file.
  virtual bool isInPlace() const = 0;

protected:
  explicit FileLock(std::string path) : path_(std::move(path)) {}

private:
  std::string path_;
};

}  // namespace hxvoxora
