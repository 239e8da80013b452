#include "hxroi/detail/SetUpgrade.h"

#include <QCoreApplication>
#include <QFile>
#include <algorithm>
#include <boost/filesystem/operations.hpp>
#include <exception>
#include <set>
#include <string>

#include "hxroi/HxRois.h"
#include "hxroi/detail/SetFileLayout.h"
#include "hxroi/detail/UpgradeFolder.h"
#include "hxroi/details/Mask.h"
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

/// Those who could not look into the former file or folder do not get to look into the new one.
void takeOverPermissions(const SetUpgrade::path& from, const SetUpgrade::path& to) {
  const auto owners = QFileDevice::ReadOwner | QFileDevice::WriteOwner;
  QFile::setPermissions(QFile::decodeName(to.c_str()), owners | (QFile::permissions(QFile::decodeName(from.c_str())) &
                                                                 QFile::permissions(QFile::decodeName(to.c_str()))));
}

/// Of an upgrade that was cut off when all was in place. They are in nobody's way, so that they may stay.
void removeRemains(UpgradeFolder& folder) {
  try {
    if (!folder.exists() || folder.isComplete() || folder.hasMasks()) return;
    folder.take();
  } catch (const McException&) {
    // The next upgrade removes them.
  }
}

}  // namespace

SetUpgrade::SetUpgrade(FileSystem& files, path file, path masksDir, std::vector<MaskFiles> masks)
    : files_(files), file_(std::move(file)), masksDir_(std::move(masksDir)) {
  std::set<path> seen;
  for (MaskFiles& mask : masks) {
    if (seen.insert(mask.prefix).second) masks_.push_back(std::move(mask));
  }
}

bool SetUpgrade::replaces(const path& output) const {
  boost::system::error_code unknown;
  return setfile::absoluteName(output) == setfile::absoluteName(file_) ||
         (fs::equivalent(output, file_, unknown) && !unknown);
}

bool SetUpgrade::run(const path& output, const HxParamBundle& parameters) {
  const bool isReplacement = replaces(output);
  const path& target = isReplacement ? file_ : output;
  setfile::requireWritable(target, masksFolderOf(target));
  UpgradeFolder folder(files_, target, isReplacement ? UpgradeFolder::Kind::instead : UpgradeFolder::Kind::beside);
  folder.take();
  if (!isReplacement && finishEarlierOne(folder, target)) return true;
  folder.clear();
  requireFree(target);
  requireSpace(target);
  files_.createDirectory(folder.masks().string(), FileSystem::Access::byMask);
  takeOverPermissions(masksDir_, folder.masks());
  if (!convert(folder.masks())) return false;
  if (isReplacement) folder.backUp(file_);
  writeSetFile(folder, parameters);
  const UpgradeFolder::Backups kept = folder.install(masksDir_);
  HxMessage::printf("%s: upgraded to %s", file_.c_str(), target.c_str());
  if (isReplacement) {
    HxMessage::printf("%s: the former files are kept as %s and %s", file_.c_str(), kept.file.c_str(),
                      kept.masks.c_str());
  }
  return true;
}

/// An upgrade to the same file that was cut off when only the set file was still to be moved.
bool SetUpgrade::finishEarlierOne(UpgradeFolder& folder, const path& output) const {
  const bool masksAreInPlace = files_.kind(masksFolderOf(output).string()) == FileKind::directory;
  const bool isFree = files_.kind(output.string()) == FileKind::missing;
  if (!folder.isComplete() || folder.hasMasks() || !masksAreInPlace || !isFree) return false;
  folder.keep();
  folder.install(masksDir_);
  HxMessage::printf("%s: an upgrade that was interrupted is finished", output.c_str());
  return true;
}

void SetUpgrade::requireFree(const path& output) const {
  const path newMasks = masksFolderOf(output);
  const auto refuseExisting = [&](const path& name) {
    if (files_.kind(name.string()) == FileKind::missing) return;
    throw McException(file_.string() + ": is not upgraded to " + output.string() + ": " + name.string() +
                      " exists already and is not replaced");
  };
  const bool isReplacement = replaces(output);
  if (!isReplacement) refuseExisting(output);
  if (!isReplacement || newMasks.filename() != masksDir_.filename()) refuseExisting(newMasks);
}

/// The new files take about as much as the old ones; mostly less, as they have no borders.
void SetUpgrade::requireSpace(const path& output) const {
  std::uint64_t bytes = 0;
  for (const MaskFiles& mask : masks_) bytes += hxvoxora::fileSetBytes(files_, mask.prefix.string() + ".ldm");
  const std::string folder = setfile::folderOf(output).string();
  const std::uint64_t free = files_.freeSpace(folder);
  if (free >= bytes) return;
  throw McException(file_.string() + ": upgrading the set needs " + std::to_string(bytes) + " bytes, and only " +
                    std::to_string(free) + " are free in " + folder);
}

bool SetUpgrade::convert(const path& newMasks) const {
  const ProgressDisplay display;
  for (std::size_t i = 0; i < masks_.size(); ++i) {
    if (!convert(masks_[i], newMasks / masks_[i].prefix.filename(), i)) return false;
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
  if (mask.isLegacy) {
    return HxLDMConverter::updateToUlx9(mask.prefix.string() + ".ldm", target.string() + ".ldm", false, goOn);
  }
  details::Mask::copyMask(mask.prefix, target);
  return goOn(1);
}

void SetUpgrade::writeSetFile(UpgradeFolder& folder, const HxParamBundle& parameters) const {
  const McHandle<HxRois> rois(new HxRois);
  rois->parameters.copy(parameters);
  if (!rois->writeQuarnMesh(folder.setFile().c_str())) {
    throw McException(file_.string() + ": the upgraded set could not be written");
  }
  takeOverPermissions(file_, folder.setFile());
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
  try {
    folder.take();
    // Somebody else may have been faster.
    if (!folder.isComplete()) return false;
    folder.keep();
    folder.install(masksDir);
  } catch (const McException& failure) {
    throw McException(file.string() + ": an upgrade was interrupted and must first be finished, by somebody who may " +
                      "write in its folder, by opening the set (" + failure.what() + ")");
  }
  HxMessage::printf("%s: an upgrade that was interrupted is finished", file.c_str());
  return true;
}

}  // namespace hxroi
