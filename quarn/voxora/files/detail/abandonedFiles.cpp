#include "quarn/voxora/files/detail/abandonedFiles.h"

#include <algorithm>
#include <array>
#include <memory>
#include <vector>

#include "quarn/base/McException.h"
#include "quarn/voxora/files/fileNames.h"

namespace hxvoxora::detail {

namespace {

class Sweep {
public:
  Sweep(FileSystem& fileSystem, const std::string& ldmPath, const VolumeHeader& header)
      : fileSystem_(fileSystem),
        headerPath_(ldmPath),
        folder_(folderOf(ldmPath)),
        names_{bareName(ldmPath), header.dataFile, header.indexFile} {}

  void run() {
    std::vector<std::string> found;
    for (const std::string& name : fileSystem_.list(folder_)) {
      if (isAside(name)) found.push_back(name);
    }
    if (found.empty()) return;
    const std::string kept = presentSuffix();
    std::vector<std::unique_ptr<FileLock>> locks;
    if (!lockData(found, locks)) return;
    // A set whose header has its name only in memory may still need the files of the one before.
    fileSystem_.syncDirectory(folder_);
    for (const std::string& name : found) {
      if (kept.empty() || !name.ends_with(kept)) fileSystem_.remove(pathOf(name));
    }
  }

private:
  std::string pathOf(const std::string& name) const { return folderPrefix(headerPath_) + name; }

  bool isAside(const std::string& name) const {
    return std::any_of(names_.begin(), names_.end(), [&](const std::string& own) {
      return name.size() == own.size() + 17 && name.starts_with(own + "~") &&
             name.find_first_not_of("0123456789abcdef", own.size() + 1) == std::string::npos;
    });
  }

  /// What the files that belong to the present set may end in; empty when there is no set.
  std::string presentSuffix() const {
    if (fileSystem_.kind(headerPath_) == FileKind::missing) return {};
    return "~" + generationText(VolumeHeader::read(fileSystem_, headerPath_).generation);
  }

  /// Locks all data files; false when somebody has one. A save renames its data file from aside to its place, so that
  /// one that is missed in the first is met in the second.
  bool lockData(const std::vector<std::string>& found, std::vector<std::unique_ptr<FileLock>>& locks) const {
    const auto lock = [&](const std::string& name) {
      locks.push_back(fileSystem_.tryLock(pathOf(name)));
      return locks.back() != nullptr;
    };
    const std::string& dataName = names_[1];
    for (const std::string& name : found) {
      if (name.starts_with(dataName + "~") && !lock(name)) return false;
    }
    return fileSystem_.kind(pathOf(dataName)) == FileKind::missing || lock(dataName);
  }

  FileSystem& fileSystem_;
  const std::string headerPath_;
  const std::string folder_;
  const std::array<std::string, 3> names_;  // header, data, index
};

}  // namespace

void removeAbandoned(FileSystem& fileSystem, const std::string& ldmPath, const VolumeHeader& header) noexcept {
  try {
    Sweep(fileSystem, ldmPath, header).run();
  } catch (...) {
    // The next save tries again.
  }
}

}  // namespace hxvoxora::detail
