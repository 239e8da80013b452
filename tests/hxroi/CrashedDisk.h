#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "DiskRecorder.h"

/// What the end of the computer may leave of a recorded disk. What was synced before is there. Of all else any part may
/// be missing: changes of names, whole or in any choice, and blocks of what was written. A rename is done in one step,
/// and is on stable storage when one of its two folders is synced after it.
class CrashedDisk {
public:
  /// Which changes that are not on stable storage yet outlast the end.
  enum class Kept {
    all,
    none,
    first,       ///< some at the beginning, in each folder
    firstOfAll,  ///< some at the beginning, in all folders together
    some,        ///< any
    allButOne,
    one
  };
  static constexpr int kKeptKinds = 7;

  /// Paths below the root: bytes of a file, nothing for a folder.
  using Tree = std::map<std::string, std::optional<std::vector<std::byte>>>;

  explicit CrashedDisk(std::vector<DiskChange> changes) : changes_(std::move(changes)) {}

  /// What may be there when the computer ends after the first `end` changes.
  Tree after(std::size_t end, Kept names, Kept bytes, std::mt19937& random) const;

private:
  bool isOnStableStorage(std::size_t change, std::size_t end) const;
  std::vector<std::size_t> outlastingNames(std::size_t end, Kept kept, std::mt19937& random) const;
  std::vector<std::byte> content(std::size_t file, std::size_t end, Kept kept, std::mt19937& random) const;

  const std::vector<DiskChange> changes_;
};
