#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "quarn/voxora/export.h"

namespace hxvoxora {

/// A file that its holder has locked against everybody else who locks it, or, shared with others, against those who
/// want it alone. Reading, writing, renaming and removing it is not hindered. Destroying the object unlocks the file,
/// and does not remove it. Any thread.
class QUARN_VOXORA_API FileLock {
public:
  virtual ~FileLock();

  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;

  /// The path the file was locked by.
  const std::string& path() const { return path_; }

  /// Whether the path still names the locked file.
  virtual bool isInPlace() const = 0;

  /// Makes `text` the whole content of the file; it is not brought to stable storage. Only for who has the file alone.
  /// McException when it fails; the content is then of no use.
  virtual void write(std::string_view text) = 0;

protected:
  explicit FileLock(std::string path) : path_(std::move(path)) {}

private:
  std::string path_;
};

}  // namespace hxvoxora
