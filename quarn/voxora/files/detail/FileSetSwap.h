#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "quarn/voxora/files/FileSystem.h"
#include "quarn/voxora/files/VolumeHeader.h"

namespace hxvoxora::detail {

/// Puts the new files of a set in the place of the old ones (docs/format/volume-header.md, "Replacing a set"). At every
/// moment the set can be read: the old one until the new header has its name, the new one from then on.
class FileSetSwap {
public:
  /// `header` is the new one; its files, and the header itself, stand beside the target under asideName(name, mark).
  FileSetSwap(FileSystem& fileSystem, const std::string& ldmPath, const VolumeHeader& header, std::uint64_t mark);

  /// Renames everything into place. When that fails, throws McException after renaming everything back.
  void run();

private:
  void moveAside(const std::string& path);
  void install(const std::string& path);
  void rename(const std::string& from, const std::string& to);
  void undo();
  bool hasOldGeneration(const std::string& path) const;

  FileSystem& fileSystem_;
  const std::string headerPath_;
  const std::string dataPath_;
  const std::string indexPath_;
  const std::uint64_t mark_;
  const std::uint64_t oldGeneration_;
  std::vector<std::pair<std::string, std::string>> renames_;
};

}  // namespace hxvoxora::detail
