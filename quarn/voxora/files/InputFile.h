#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <utility>

#include "quarn/voxora/export.h"
#include "quarn/voxora/files/FileIdentity.h"

namespace hxvoxora {

/// A regular file opened for reading at any position. The object keeps reading the file it was opened on, also after
/// the name was given to another file or removed.
///
/// All operations may be called from several threads at once. Failures throw McException with the call, the path and
/// the system's reason.
class QUARN_VOXORA_API InputFile {
public:
  virtual ~InputFile();

  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;

  /// The path the file was opened by; for messages only.
  const std::string& path() const { return path_; }

  /// Reads out.size() bytes from `offset` on. Returns the number of bytes read, which is smaller only when the file
  /// ends before; interrupted and partial reads are continued inside.
  virtual std::size_t readAt(std::uint64_t offset, std::span<std::byte> out) const = 0;

  /// The identity of the open file as it is now.
  virtual FileIdentity identity() const = 0;

  /// Like readAt, but a file that ends early is an error that names path, offset and missing bytes.
  void readFully(std::uint64_t offset, std::span<std::byte> out) const;

protected:
  explicit InputFile(std::string path) : path_(std::move(path)) {}

private:
  std::string path_;
};

}  // namespace hxvoxora
