#include "hxroi/detail/UpgradeFolder.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <exception>

#include "hxroi/detail/SetFileLayout.h"
#include "hxroi/details/logFailure.h"
#include "quarn/base/McException.h"
#include "quarn/voxora/files/FileError.h"
#include "quarn/voxora/files/readWhole.h"

namespace hxroi {

using hxvoxora::FileKind;
using hxvoxora::FileSystem;

namespace {

/// Of a name in a folder.
constexpr std::size_t kLongestName = 255;
/// The parameter files that are read are no longer.
constexpr std::uint64_t kLongestFile = std::uint64_t{64} << 20;

constexpr const char* kLegacy = "-legacy";

UpgradeFolder::path folderFor(const UpgradeFolder::path& output, UpgradeFolder::Kind kind) {
  const char* ending = kind == UpgradeFolder::Kind::beside ? "~upgrading" : "~replacing";
  return setfile::folderOf(output) / (output.filename().string() + ending);
}

UpgradeFolder::path masksOf(const UpgradeFolder::path& setFile) {
  return setfile::folderOf(setFile) / setfile::masksDirectoryName(setFile);
}

}  // namespace

UpgradeFolder::UpgradeFolder(FileSystem& files, const path& output, Kind kind)
    : files_(files), output_(output), newMasks_(masksOf(output)), kind_(kind), folder_(folderFor(output, kind)) {}

UpgradeFolder::~UpgradeFolder() {
  if (!lock_ || mustStay_) return;
  try {
    clear();
    files_.remove(lockFile());
    lock_.reset();
    files_.removeDirectory(folder_.string());
  } catch (const std::exception& failure) {
    details::logFailure("A folder was left", failure.what());
  }
}

FileKind UpgradeFolder::kindOf(const path& name) const {
  return files_.kind(name.string());
}

bool UpgradeFolder::exists() const {
  // Beside a set with a very long name there is none.
  if (folder_.filename().size() > kLongestName || kindOf(folder_) != FileKind::directory) return false;
  try {
    const std::vector<std::string> names = files_.list(folder_.string());
    return std::all_of(names.begin(), names.end(), [&](const std::string& name) { return holds(name); });
  } catch (const hxvoxora::FileError& failure) {
    if (failure.number() != EACCES) throw;
    return false;
  }
}

/// Whether an upgrade may have put something of this name there.
bool UpgradeFolder::holds(const std::string& name) const {
  const std::string file = output_.filename().string();
  return name == ".lock" || name == ".source" || name == ".former" || name == file ||
         name.starts_with(file + kLegacy) || path(name) == newMasks_.filename();
}

void UpgradeFolder::take() {
  if (folder_.filename().size() > kLongestName) {
    throw McException(McException::excerpt(output_.string()) + ": the name is too long for an upgrade; rename the set");
  }
  const bool isNew = kindOf(folder_) == FileKind::missing;
  if (!isNew && !exists()) {
    throw McException(folder_.string() + ": is in the way of an upgrade; rename it, or open the set as its owner");
  }
  try {
    makeOrTake();
    mustStay_ = !isNew;
  } catch (...) {
    if (isNew && !lock_) {
      files_.remove(lockFile());
      files_.removeDirectory(folder_.string());
    }
    throw;
  }
}

void UpgradeFolder::makeOrTake() {
  if (kindOf(folder_) == FileKind::missing) files_.createDirectory(folder_.string(), FileSystem::Access::ownerOnly);
  if (files_.kind(lockFile()) == FileKind::missing) {
    files_.createExclusively(lockFile(), FileSystem::Access::ownerOnly)->close();
  }
  lock_ = files_.tryLock(lockFile());
  if (!lock_) throw McException(output_.string() + ": is being upgraded by another program, in " + folder_.string());
}

std::string UpgradeFolder::lockFile() const {
  return (folder_ / ".lock").string();
}

void UpgradeFolder::clear() {
  mustStay_ = false;
  removeContent(folder_.string());
}

/// Everything but the lock of this upgrade.
void UpgradeFolder::removeContent(const std::string& folder) {
  for (const std::string& name : files_.list(folder)) {
    const std::string entry = folder + "/" + name;
    if (entry == lockFile()) continue;
    if (files_.kind(entry) == FileKind::directory) {
      removeContent(entry);
      files_.removeDirectory(entry);
    } else {
      files_.remove(entry);
    }
  }
}

void UpgradeFolder::write(const path& name, std::span<const std::byte> bytes) {
  const auto file = files_.createExclusively(name.string(), FileSystem::Access::ownerOnly);
  file->append(bytes);
  file->sync();
  file->close();
}

std::string UpgradeFolder::contentOf(const path& name) const {
  return hxvoxora::readWhole(files_, name.string(), kLongestFile, FileSystem::Links::refuse);
}

void UpgradeFolder::noteSource(const std::string& state) {
  write(noteFile(), std::as_bytes(std::span(state)));
}

std::string UpgradeFolder::sourceNote() const {
  if (kindOf(noteFile()) != FileKind::regular) return {};
  return contentOf(noteFile());
}

void UpgradeFolder::backUp(const path& former, const path& formerMasks) {
  const std::string content = contentOf(former);
  const auto bytes = std::as_bytes(std::span(content));
  write(formerFile(), bytes);
  write(folder_ / (output_.filename().string() + freeEnding(formerMasks)), bytes);
}

bool UpgradeFolder::isReplaced(const path& file) const {
  return kindOf(formerFile()) == FileKind::regular && kindOf(file) == FileKind::regular &&
         contentOf(file) == contentOf(formerFile());
}

bool UpgradeFolder::isComplete() const {
  return kindOf(setFile()) == FileKind::regular;
}

bool UpgradeFolder::hasMasks() const {
  return kindOf(masks()) == FileKind::directory;
}

std::string UpgradeFolder::freeEnding(const path& formerMasks) const {
  for (int number = 1;; ++number) {
    const std::string ending = number == 1 ? kLegacy : kLegacy + std::to_string(number);
    const Backups backups = backupsWith(formerMasks, ending);
    if (kindOf(backups.masks) == FileKind::missing && kindOf(backups.file) == FileKind::missing) return ending;
  }
}

/// What the copy of the former set file that is to be moved has behind its name; empty when there is none.
std::string UpgradeFolder::endingOfBackup() const {
  const std::string start = output_.filename().string();
  for (const std::string& name : files_.list(folder_.string())) {
    if (name.starts_with(start + kLegacy)) return name.substr(start.size());
  }
  return {};
}

UpgradeFolder::Backups UpgradeFolder::backupsWith(const path& formerMasks, const std::string& ending) const {
  return {formerMasks.string() + ending, output_.string() + ending};
}

UpgradeFolder::Backups UpgradeFolder::install(const path& formerMasks) {
  const std::string ending = endingOfBackup();
  const Backups backups = backupsWith(formerMasks, ending);
  try {
    // Before anything leaves its place the folder itself must be there to stay.
    sync(folder_.string());
    const bool masksAreNew = !hasMasks() && formerMasks == newMasks_;
    const bool replaces = kind_ == Kind::instead;
    if (replaces && !masksAreNew && kindOf(formerMasks) != FileKind::missing) move(formerMasks, backups.masks);
    if (hasMasks()) move(masks(), newMasks_);
    if (replaces && !ending.empty()) move(folder_ / backups.file.filename(), backups.file);
    requireFree(output_);
    files_.rename(setFile().string(), output_.string());
  } catch (...) {
    undoMoves();
    throw;
  }
  moves_.clear();
  mustStay_ = false;
  try {
    sync(output_.string());
  } catch (const std::exception& failure) {
    // What is there now is the new set; only its name may not outlast the end of the computer.
    details::logFailure("The folder could not be brought to stable storage", failure.what());
  }
  return backups;
}

/// Much may have come there since the upgrade began.
void UpgradeFolder::requireFree(const path& name) const {
  if (kind_ == Kind::instead && name == output_) return;
  if (kindOf(name) == FileKind::missing) return;
  throw McException(name.string() + ": exists by now and is not replaced");
}

void UpgradeFolder::move(const path& from, const path& to) {
  requireFree(to);
  files_.rename(from.string(), to.string());
  moves_.push_back({from.string(), to.string()});
  sync(from.string());
  sync(to.string());
}

/// Brings the folder of a path to stable storage.
void UpgradeFolder::sync(const std::string& name) {
  files_.syncDirectory(setfile::folderOf(name).string());
}

void UpgradeFolder::undoMoves() noexcept {
  try {
    for (; !moves_.empty(); moves_.pop_back()) files_.rename(moves_.back().to, moves_.back().from);
  } catch (const std::exception& failure) {
    // Whoever opens the set next finishes the replacement.
    mustStay_ = true;
    details::logFailure("An upgrade is half-way", failure.what());
  }
}

}  // namespace hxroi
