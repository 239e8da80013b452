#include "hxroi/detail/refuseSharedMasks.h"

#include <QString>
#include <algorithm>
#include <cstdint>
#include <memory>
#include <vector>

#include "hxroi/detail/SetFileLayout.h"
#include "hxroi/detail/readSetFile.h"
#include "quarn/base/McException.h"
#include "quarn/kernel/io/QuarnMesh.h"

namespace hxroi {

using boost::filesystem::path;
using hxvoxora::FileKind;
using hxvoxora::FileSystem;

namespace {

constexpr std::uint64_t kLongestFile = std::uint64_t{8} << 20;

/// Null for what is no set file that can be looked into.
std::unique_ptr<QuarnMesh> meshOf(FileSystem& files, const path& file) {
  try {
    if (files.kind(file.string()) != FileKind::regular) return nullptr;
    const auto size = files.openForReading(file.string(), FileSystem::Links::refuse)->identity().size;
    return size <= kLongestFile ? parseSetFile(files, file) : nullptr;
  } catch (const McException&) {
    return nullptr;
  }
}

bool differInCaseOnly(const std::string& a, const std::string& b) {
  return QString::fromStdString(a).compare(QString::fromStdString(b), Qt::CaseInsensitive) == 0;
}

/// The parameter files beside `file`.
std::vector<std::string> neighboursOf(FileSystem& files, const path& file) {
  std::vector<std::string> names = files.list(setfile::folderOf(file).string());
  const std::string own = file.filename().string();
  // Where letter case does not count the file may be listed under another name than the one it is saved by.
  const bool isListed = std::binary_search(names.begin(), names.end(), own);
  const bool hasOtherCase = !isListed && files.kind(file.string()) != FileKind::missing;
  std::erase_if(names, [&](const std::string& name) {
    return !name.ends_with(".qm") || name == own || (hasOtherCase && differInCaseOnly(name, own));
  });
  return names;
}

}  // namespace

void refuseSharedMasks(FileSystem& files, const path& file, const path& masksDir,
                       const std::set<std::string>& replaced) {
  if (replaced.empty()) return;
  for (const std::string& name : neighboursOf(files, file)) {
    const path other = setfile::folderOf(file) / name;
    const auto mesh = meshOf(files, other);
    if (!mesh || setfile::masksDirectory(mesh->parameters, other) != masksDir) continue;
    for (const setfile::MaskEntry& mask : setfile::masksOf(mesh->parameters)) {
      if (!replaced.contains(mask.file)) continue;
      throw McException(file.string() + ": not saved, since " + other.string() + " has the same masks in " +
                        masksDir.string() + ", and mask " + mask.name +
                        " of it would be replaced; save the set under another name, or move or remove that file");
    }
  }
}

}  // namespace hxroi
