#include "hxroi/detail/SetFolder.h"

#include <algorithm>
#include <cstddef>
#include <set>
#include <string_view>
#include <utility>

#include "hxroi/detail/SetFileLayout.h"
#include "quarn/base/McException.h"
#include "quarn/voxora/files/VolumeHeader.h"
#include "quarn/voxora/files/fileNames.h"
#include "quarn/voxora/files/fileSetParts.h"

namespace hxroi {

using hxvoxora::bareName;
using hxvoxora::FileKind;
using hxvoxora::FileSystem;

namespace {

constexpr std::string_view kStagedPrefix = ".staged-";
constexpr std::size_t kMarkLength = 16;
constexpr std::string_view kHeaderSuffix = ".ldm";

[[noreturn]] void refuse(const std::string& path, const char* why) {
  throw McException(McException::excerpt(path) + ": " + why);
}

bool isStagedName(std::string_view name) {
  return name.size() == kStagedPrefix.size() + kMarkLength && name.starts_with(kStagedPrefix) &&
         name.find_first_not_of("0123456789abcdef", kStagedPrefix.size()) == std::string_view::npos;
}

std::string folderOf(const std::string& path) {
  return setfile::folderOf(path).string();
}

/// What a save that was cut off left beside the files of a mask before sets were saved as a whole.
void removeOldRemains(FileSystem& files, const std::vector<std::string>& present, const std::string& header) {
  const std::string prefix = header.substr(0, header.size() - kHeaderSuffix.size());
  const std::string name = bareName(prefix) + ".";
  const auto first = std::lower_bound(present.begin(), present.end(), name);
  const bool hasRemains = std::any_of(first, present.end(), [&](const std::string& other) {
    return other.starts_with(name) && other.find('~') != std::string::npos;
  });
  if (!hasRemains) return;
  hxvoxora::VolumeHeader names;
  names.dataFile = bareName(prefix) + ".dat";
  names.indexFile = bareName(prefix) + ".fcp";
  hxvoxora::removeAbandonedFiles(files, header, names);
}

}  // namespace

SetFolder::SetFolder(FileSystem& files, std::string masksDir) : files_(files), masksDir_(std::move(masksDir)) {}

std::string SetFolder::newStaging() const {
  // The mark of a set of files is as unique as is needed here.
  const std::string marked = hxvoxora::asideName("", hxvoxora::drawGeneration());
  return masksDir_ + "/" + std::string(kStagedPrefix) + marked.substr(1);
}

bool SetFolder::hasCommitted() const {
  return files_.kind(committed()) != FileKind::missing;
}

bool SetFolder::hasStaged() const {
  return !stagedNames().empty();
}

std::vector<std::string> SetFolder::stagedNames() const {
  std::vector<std::string> names;
  if (files_.kind(masksDir_) != FileKind::directory) return names;
  for (const std::string& name : files_.list(masksDir_)) {
    if (isStagedName(name) && files_.kind(masksDir_ + "/" + name) == FileKind::directory) names.push_back(name);
  }
  return names;
}

void SetFolder::rollForward() {
  const FileKind kind = files_.kind(committed());
  if (kind == FileKind::missing) return;
  if (kind != FileKind::directory) refuse(committed(), "is not the folder of a save");
  const std::vector<std::string> names = files_.list(committed());
  const std::string setFile = findSetFile();

  // The save counts only when its name is on stable storage; without it the files would be lost in their new places.
  files_.syncDirectory(masksDir_);
  // Without a set file nobody could open the set, and so finish this. Where there is one it is the old one, which goes
  // with the old masks.
  const bool isFirst = !setFile.empty() && files_.kind(folderOf(masksDir_) + "/" + setFile) == FileKind::missing;
  // The folder of the masks may be new, also where a set file stands that named another one, and must not be missing
  // beside the new set file.
  if (!setFile.empty()) files_.syncDirectory(folderOf(masksDir_));
  if (isFirst) moveSetFile(setFile);
  moveMasks(names);
  files_.syncDirectory(masksDir_);
  if (!setFile.empty() && !isFirst) moveSetFile(setFile);
  removeSave(committed());
}

/// The name of the set file that is still to be moved; empty when it has been.
std::string SetFolder::findSetFile() const {
  const std::string folder = setFileFolder(committed());
  const FileKind kind = files_.kind(folder);
  if (kind == FileKind::missing) return {};
  if (kind != FileKind::directory) refuse(folder, "is not the folder of a set file");
  const std::vector<std::string> names = files_.list(folder);
  if (names.empty()) return {};
  const std::string path = folder + "/" + names.front();
  // No other file of the user is to be replaced, whoever made the folder.
  if (names.size() > 1 || setfile::masksDirectoryName(names.front()) != bareName(masksDir_)) {
    refuse(path, "is not the file of the set with these masks");
  }
  return names.front();
}

void SetFolder::moveMasks(const std::vector<std::string>& names) {
  const std::set<std::string> all(names.begin(), names.end());
  const std::vector<std::string> present = files_.list(masksDir_);
  std::vector<std::string> headers;
  for (const std::string& header : names) {
    if (!header.ends_with(kHeaderSuffix)) continue;
    headers.push_back(header);
    const std::string stem = header.substr(0, header.size() - kHeaderSuffix.size());
    for (const std::string& name : {stem + ".dat", stem + ".fcp"}) {
      if (all.contains(name)) moveIntoPlace(name);
    }
  }
  if (headers.empty()) return;
  // Without its header a file belongs to a mask that has been moved, or was never complete. So none is to reach stable
  // storage in its place ahead of what belongs to it.
  files_.syncDirectory(masksDir_);
  for (const std::string& header : headers) {
    moveIntoPlace(header);
    removeOldRemains(files_, present, masksDir_ + "/" + header);
  }
}

void SetFolder::moveIntoPlace(const std::string& name) {
  move(committed() + "/" + name, masksDir_ + "/" + name);
}

void SetFolder::moveSetFile(const std::string& name) {
  const std::string folder = folderOf(masksDir_);
  move(setFileFolder(committed()) + "/" + name, folder + "/" + name);
  files_.syncDirectory(folder);
}

void SetFolder::move(const std::string& from, const std::string& to) {
  if (files_.kind(from) != FileKind::regular) refuse(from, "is not a regular file");
  const FileKind place = files_.kind(to);
  if (place != FileKind::missing && place != FileKind::regular) refuse(to, "is not a regular file and is not replaced");
  files_.rename(from, to);
}

void SetFolder::removeStaged() {
  const std::vector<std::string> names = stagedNames();
  if (names.empty()) return;
  // On stable storage one of them may still be the committed save, which must not lose files.
  files_.syncDirectory(masksDir_);
  for (const std::string& name : names) removeSave(masksDir_ + "/" + name);
}

void SetFolder::removeSave(const std::string& saveFolder) {
  if (files_.kind(saveFolder) == FileKind::missing) return;
  const std::string inner = setFileFolder(saveFolder);
  for (const std::string& folder : {inner, saveFolder}) {
    if (files_.kind(folder) != FileKind::directory) continue;
    for (const std::string& name : files_.list(folder)) files_.remove(folder + "/" + name);
    files_.removeDirectory(folder);
  }
}

}  // namespace hxroi
