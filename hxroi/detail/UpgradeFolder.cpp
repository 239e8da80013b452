#include "hxroi/detail/UpgradeFolder.h"

#include <algorithm>
#include <cstddef>
#include <exception>
#include <span>

#include "hxroi/detail/SetFileLayout.h"
#include "hxroi/details/logFailure.h"
#include "quarn/base/McException.h"

namespace hxroi {

using hxvoxora::FileKind;
using hxvoxora::FileSystem;

namespace {

constexpr std::size_t kPieceBytes = std::size_t{1} << 20;

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

bool UpgradeFolder::exists() const {
  return kindOf(folder_) == FileKind::directory;
}

void UpgradeFolder::take() {
  if (kindOf(folder_) == FileKind::missing) files_.createDirectory(folder_.string(), FileSystem::Access::byMask);
  if (files_.kind(lockFile()) == FileKind::missing) {
    files_.createExclusively(lockFile(), FileSystem::Access::byMask)->close();
  }
  lock_ = files_.tryLock(lockFile());
  if (!lock_) throw McException(output_.string() + ": is being upgraded by another program, in " + folder_.string());
}

std::string UpgradeFolder::lockFile() const {
  return (folder_ / ".lock").string();
}

void UpgradeFolder::clear() {
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

void UpgradeFolder::backUp(const path& former) {
  const auto source = files_.openForReading(former.string(), FileSystem::Links::refuse);
  const auto copy = files_.createExclusively(backup().string(), FileSystem::Access::byMask);
  const std::uint64_t size = source->identity().size;
  std::vector<std::byte> piece;
  for (std::uint64_t done = 0; done < size; done += piece.size()) {
    piece.resize(static_cast<std::size_t>(std::min<std::uint64_t>(size - done, kPieceBytes)));
    source->readFully(done, piece);
    copy->append(piece);
  }
  copy->sync();
  copy->close();
}

bool UpgradeFolder::isComplete() const {
  return kindOf(setFile()) == FileKind::regular;
}

bool UpgradeFolder::hasMasks() const {
  return kindOf(masks()) == FileKind::directory;
}

UpgradeFolder::Backups UpgradeFolder::freeBackups(const path& formerMasks) const {
  for (int number = 1;; ++number) {
    const std::string ending = number == 1 ? "-legacy" : "-legacy" + std::to_string(number);
    const path masks(formerMasks.string() + ending), file(output_.string() + ending);
    if (kindOf(masks) == FileKind::missing && kindOf(file) == FileKind::missing) return {masks, file};
  }
}

UpgradeFolder::Backups UpgradeFolder::install(const path& formerMasks) {
  const Backups backups = freeBackups(formerMasks);
  try {
    const bool masksAreNew = !hasMasks() && formerMasks == newMasks_;
    const bool replaces = kind_ == Kind::instead;
    if (replaces && !masksAreNew && kindOf(formerMasks) != FileKind::missing) move(formerMasks, backups.masks);
    if (hasMasks()) move(masks(), newMasks_);
    if (replaces && kindOf(backup()) != FileKind::missing) move(backup(), backups.file);
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

void UpgradeFolder::move(const path& from, const path& to) {
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
