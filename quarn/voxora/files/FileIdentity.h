#pragma once

#include <cstdint>

namespace hxvoxora {

/// What tells one file, in one state, from another: the file itself (device and serial number) and its state (size
/// and time of the last change). Two equal identities mean: the same file, and nobody wrote to it in between.
struct FileIdentity {
  std::uint64_t device = 0;
  std::uint64_t serial = 0;       ///< inode number, or its equal on other systems
  std::uint64_t size = 0;         ///< bytes
  std::int64_t changedNanos = 0;  ///< last change of the content, nanoseconds since the epoch of the file system

  /// True when both name the same file, whatever its state.
  bool sameFile(const FileIdentity& other) const { return device == other.device && serial == other.serial; }

  bool operator==(const FileIdentity&) const = default;
};

}  // namespace hxvoxora
