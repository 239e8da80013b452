#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "quarn/voxora/files/FileSystem.h"

namespace hxvoxora::detail {

/// A file without a name: it is gone when the object or the process is. Never synced. One thread at a time may
/// append, any number may read.
class SpillFile {
public:
  /// Makes the file and takes its name away. Throws McException, and leaves no file then unless it cannot be removed.
  SpillFile(FileSystem& files, const std::string& path);

  /// Where the next byte goes.
  std::uint64_t size() const { return size_; }

  /// Throws McException; nothing may be appended after that.
  void append(std::span<const std::byte> bytes);

  /// Nothing will be appended any more, which saves a descriptor.
  void finish() { output_.reset(); }

  /// Reads what was appended; McException naming the file when it does not have this XXH3 checksum.
  void read(std::uint64_t offset, std::uint64_t checksum, std::span<std::byte> out) const;

private:
  std::unique_ptr<OutputFile> output_;
  std::unique_ptr<InputFile> input_;
  std::uint64_t size_ = 0;
};

}  // namespace hxvoxora::detail
