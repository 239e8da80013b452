#include "hxroi/detail/SetUpgrade.h"

#include <QCoreApplication>
#include <QFile>
#include <boost/filesystem/operations.hpp>
#include <exception>
#include <set>
#include <string>
#include <utility>

#include "hxroi/HxRois.h"
#include "hxroi/detail/SetFileLayout.h"
#include "hxroi/detail/SetLock.h"
#include "hxroi/detail/UpgradeFolder.h"
#include "hxroi/detail/accessRights.h"
#include "hxroi/details/MaskFiles.h"
#include "quarn/base/McException.h"
#include "quarn/base/McHandle.h"
#include "quarn/base/McProgressInterface.h"
#include "quarn/kernel/app/HxApplication.h"
#include "quarn/kernel/app/HxMessage.h"
#include "quarn/kernel/io/HxLDMConverter.h"
#include "quarn/kernel/params/HxParamBundle.h"
#include "quarn/voxora/files/fileSetParts.h"

namespace fs = boost::filesystem;

namespace hxroi {

using hxvoxora::FileKind;
using hxvoxora::FileSystem;

namespace {

/// Shows the upgrade in the display of the application while it lives.
class ProgressDisplay {
public:
  ProgressDisplay() { display_.start(QCoreApplication::translate("HxRois", "Upgrading masks").toStdString()); }
  ~ProgressDisplay() { display_.stop(); }
  ProgressDisplay(const ProgressDisplay&) = delete;
  ProgressDisplay& operator=(const ProgressDisplay&) = delete;

private:
  McProgressInterface& display_ = *HxApplication::progress();
};

SetUpgrade::path masksFolderOf(const SetUpgrade::path& setFile) {
  return setfile::folderOf(setFile) / setfile::masksDirectoryName(setFile);
}

/// What tells the files of a set from others, and by which a change of them is noticed: name, size and time of each.
/// Wherever the set is moved it stays the same.
std::string stateOf(FileSystem& files, const SetUpgrade::path& file, const std::vector<SetUpgrade::MaskFiles>& masks) {
  std::string state;
  const auto add = [&](const SetUpgrade::path& name) {
    if (files.kind(name.string()) != FileKind::regular) return;
    const hxvoxora::FileIdentity id = files.openForReading(name.string(), FileSystem::Links::refuse)->identity();
    state += std::to_string(id.size) + ' ' + std::to_string(id.changedNanos) + ' ' + name.filename().string() + '\n';
  };
  add(file);
  for (const auto& mask : masks) {
    for (const char* suffix : {".ldm", ".fcp", ".dat"}) add(mask.prefix.string() + suffix);
  }
  return state;
}

std::vector<SetUpgrade::MaskFiles> eachOnce(std::vector<SetUpgrade::MaskFiles> masks) {
  std::set<SetUpgrade::path> seen;
  std::erase_if(masks, [&](const auto& mask) { return !seen.insert(mask.prefix).second; });
  return masks;
}

/// Of an upgrade that was cut off when all was in place. They are in nobody's way, so that they may stay.
void removeRemains(UpgradeFolder& folder) {
  try {
    const auto isOver = [&] { return !folder.isComplete() && !folder.hasMasks(); };
    if (!folder.exists() || !isOver()) return;
    folder.take();
    if (isOver()) folder.clear();
  } catch (const McException&) {
    // The next upgrade removes them.
  }
}

void tellKept(const SetUpgrade::path& file, const UpgradeFolder::Backups& kept) {
  HxMessage::printf("%s: the former files are kept as %s and %s", file.c_str(), kept.file.c_str(), kept.masks.c_str());
}

}  // namespace

SetUpgrade::SetUpgrade(FileSystem& files, path file, path masksDir, std::vector<MaskFiles> masks)
    : files_(files),
      file_(std::move(file)),
      masksDir_(std::move(masksDir)),
      masks_(eachOnce(std::move(masks))),
      source_(stateOf(files_, file_, masks_)) {}

bool SetUpgrade::replaces(const path& output) const {
  boost::system::error_code unknown;
  return setfile::absoluteName(output) == setfile::absoluteName(file_) ||
         (fs::equivalent(output, file_, unknown) && !unknown);
}

UpgradeFolder SetUpgrade::folderFor(const path& target) const {
  return {files_, target, replaces(target) ? UpgradeFolder::Kind::instead : UpgradeFolder::Kind::beside};
}

void SetUpgrade::requirePossible(const path& output) const {
  const path target = targetOf(output);
  setfile::requireWritable(target, masksFolderOf(target));
  boost::system::error_code unknown;
  if (fs::equivalent(setfile::folderOf(target), masksDir_, unknown) && !unknown) {
    throw McException(file_.string() + ": is not upgraded to " + target.string() + ": that is among its own masks");
  }
  if (canFinishEarlierOne(folderFor(target), target)) return;
  requireFree(target);
  requireSpace(target);
}

bool SetUpgrade::run(const path& output, const HxParamBundle& parameters) {
  const path target = targetOf(output);
  requirePossible(target);
  UpgradeFolder folder = folderFor(target);
  folder.take();
  if (canFinishEarlierOne(folder, target)) {
    folder.install(masksDir_);
    HxMessage::printf("%s: an upgrade that was interrupted is finished", target.c_str());
    return true;
  }
  folder.clear();
  folder.noteSource(source_);
  files_.createDirectory(folder.masks().string(), FileSystem::Access::byMask);
  accessRights::limit(folder.masks(), masksDir_);
  if (!convert(folder.masks())) {
    HxMessage::printf("%s: upgrading was interrupted; nothing has changed", file_.c_str());
    return false;
  }
  if (replaces(target)) folder.backUp(file_, masksDir_);
  writeSetFile(folder, parameters);
  install(folder, target);
  return true;
}

void SetUpgrade::install(UpgradeFolder& folder, const path& target) const {
  const bool isReplacement = replaces(target);
  // Where nobody has ever saved there is nobody to be kept away.
  const auto lock = isReplacement && SetLock::isPresent(files_, masksDir_.string())
                        ? SetLock::forSaving(files_, masksDir_.string())
                        : nullptr;
  requireUnchanged();
  const UpgradeFolder::Backups kept = folder.install(masksDir_);
  HxMessage::printf("%s: upgraded to %s", file_.c_str(), target.c_str());
  if (isReplacement) tellKept(file_, kept);
}

void SetUpgrade::requireUnchanged() const {
  if (stateOf(files_, file_, masks_) == source_) return;
  throw McException(file_.string() + ": was changed while it was upgraded, and is not upgraded; load it again");
}

/// Whether an upgrade of the same files to the same place was cut off when only the set file was still to be moved.
bool SetUpgrade::canFinishEarlierOne(const UpgradeFolder& folder, const path& target) const {
  const bool masksAreInPlace = files_.kind(masksFolderOf(target).string()) == FileKind::directory;
  const bool isFree = files_.kind(target.string()) == FileKind::missing;
  return masksAreInPlace && isFree && folder.exists() && folder.isComplete() && !folder.hasMasks() &&
         folder.sourceNote() == source_;
}

void SetUpgrade::requireFree(const path& target) const {
  const path newMasks = masksFolderOf(target);
  const auto refuseExisting = [&](const path& name) {
    if (files_.kind(name.string()) == FileKind::missing) return;
    throw McException(file_.string() + ": is not upgraded to " + target.string() + ": " + name.string() +
                      " exists already and is not replaced");
  };
  const bool isReplacement = replaces(target);
  if (!isReplacement) refuseExisting(target);
  if (!isReplacement || newMasks.filename() != masksDir_.filename()) refuseExisting(newMasks);
}

/// The new files take about as much as the old ones; mostly less, as they have no borders.
void SetUpgrade::requireSpace(const path& target) const {
  std::uint64_t bytes = 0;
  for (const MaskFiles& mask : masks_) bytes += hxvoxora::fileSetBytes(files_, mask.prefix.string() + ".ldm");
  const std::string folder = setfile::folderOf(target).string();
  const std::uint64_t free = files_.freeSpace(folder);
  if (free >= bytes) return;
  throw McException(file_.string() + ": upgrading the set needs " + std::to_string(bytes) + " bytes, and only " +
                    std::to_string(free) + " are free in " + folder);
}

bool SetUpgrade::convert(const path& newMasks) const {
  const ProgressDisplay display;
  try {
    for (std::size_t i = 0; i < masks_.size(); ++i) {
      if (!convert(masks_[i], newMasks / setfile::maskFileName(masks_[i].prefix.filename().string()), i)) return false;
    }
  } catch (const McException&) {
    // Perhaps for a better reason.
    requireUnchanged();
    throw;
  }
  return true;
}

bool SetUpgrade::convert(const MaskFiles& mask, const path& target, std::size_t done) const {
  McProgressInterface& display = *HxApplication::progress();
  const auto goOn = [&](double fraction) {
    display.setValue(static_cast<float>((static_cast<double>(done) + fraction) / static_cast<double>(masks_.size())));
    return !display.isInterrupted();
  };
  HxMessage::printf("Upgrading mask %s", mask.prefix.filename().c_str());
  const std::string from = mask.prefix.string(), to = target.string();
  const bool isDone = mask.isLegacy ? HxLDMConverter::updateToUlx9(from + ".ldm", to + ".ldm", false, goOn)
                                    : details::MaskFiles::copy(files_, from, to, FileSystem::Access::byMask, goOn);
  if (!isDone) return false;
  for (const char* suffix : {".ldm", ".fcp", ".dat"}) {
    if (files_.kind(to + suffix) == FileKind::regular) accessRights::limit(to + suffix, from + suffix);
  }
  return goOn(1);
}

void SetUpgrade::writeSetFile(UpgradeFolder& folder, const HxParamBundle& parameters) const {
  const McHandle<HxRois> rois(new HxRois);
  rois->parameters.copy(parameters);
  if (!rois->writeQuarnMesh(folder.setFile().c_str())) {
    throw McException(file_.string() + ": the upgraded set could not be written");
  }
  accessRights::limit(folder.setFile(), file_);
}

bool SetUpgrade::finishReplacement(FileSystem& files, const path& file, const path& masksDir) {
  UpgradeFolder besideFolder(files, file, UpgradeFolder::Kind::beside);
  removeRemains(besideFolder);
  UpgradeFolder folder(files, file, UpgradeFolder::Kind::instead);
  if (!folder.exists()) return false;
  const bool isUnderWay = files.kind(masksDir.string()) == FileKind::missing || !folder.hasMasks();
  if (!folder.isComplete() || !isUnderWay) {
    removeRemains(folder);
    return false;
  }
  if (!folder.isReplaced(file)) {
    HxMessage::printf("%s: an upgrade was interrupted, and the file was changed since; the upgraded set stays in %s",
                      file.c_str(), folder.setFile().parent_path().c_str());
    return false;
  }
  UpgradeFolder::Backups kept;
  try {
    folder.take();
    // Somebody else may have been faster.
    if (!folder.isComplete()) {
      if (!folder.hasMasks()) folder.clear();
      return false;
    }
    kept = folder.install(masksDir);
  } catch (const McException& failure) {
    throw McException(file.string() + ": an upgrade must first be finished, by somebody who may write in its folder, " +
                      "by opening the set (" + failure.what() + ")");
  }
  HxMessage::printf("%s: an upgrade that was interrupted is finished", file.c_str());
  if (kept.file != file) tellKept(file, kept);
  return true;
}

}  // namespace hxroi
