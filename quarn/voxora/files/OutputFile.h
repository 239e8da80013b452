#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <utility>

#include "quarn/voxora/export.h"

namespace hxvoxora {

/// A new file that is written from its beginning to its end. One thread at a time.
///
/// Failures throw McException with the call, the path and the system's reason; the file is then of no use and is to be
/// closed and removed. A failed sync or close is never repeated on the same file, as the system may have dropped the
/// bytes.
class QUARN_VOXORA_API OutputFile {
public:
  /// Closes the file when close() was not called; failures are not reported then.
  virtual ~OutputFile();

  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  /// The path the file was made by; for messages only.
  const std::string& path() const { return path_; }

  /// Writes all bytes behind those already written. Unbuffered: callers hand over large pieces.
  virtual void append(std::span<const std::byte> bytes) = 0;

  /// Returns when everything appended so far is on stable storage.
  virtual void sync() = 0;

  /// Ends writing. Nothing but the destructor may be called afterwards.
  virtual void close() = 0;

protected:
  explicit OutputFile(std::string path) : path_(std::move(path)) {}

private:
  std::string path_;
};

}  // namespace hxvoxora
