#include "hxroi/detail/SetSave.h"

#include <QString>
#include <exception>
#include <utility>

#include "hxroi/detail/SaveStopped.h"
#include "hxroi/detail/SetFileLayout.h"
#include "hxroi/detail/SetOrigin.h"
#include "hxroi/detail/readSetFile.h"
#include "hxroi/detail/refuseSharedMasks.h"
#include "hxroi/details/Mask.h"
#include "hxroi/details/MaskFiles.h"
#include "hxroi/details/logFailure.h"
#include "quarn/base/McException.h"
#include "quarn/kernel/io/QuarnMesh.h"
#include "quarn/voxora/files/TiledFileReader.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"

namespace hxroi {

using details::Mask;
using hxvoxora::FileKind;
using hxvoxora::FileSystem;

SetSave::SetSave(FileSystem& files, const path& file, const path& masksDir)
    : files_(files), file_(file), masksDir_(masksDir.string()), folder_(files, masksDir_) {
  try {
    makeFolder();
    begin();
  } catch (...) {
    undo();
    throw;
  }
}

SetSave::~SetSave() {
  undo();
}

void SetSave::makeFolder() {
  if (files_.kind(masksDir_) != FileKind::missing) return;
  files_.createDirectory(masksDir_, FileSystem::Access::byMask);
  hasMadeFolder_ = true;
}

void SetSave::begin() {
  lock_ = SetLock::forSaving(files_, masksDir_);
  if (!files_.isOneFileSystem(masksDir_, setfile::folderOf(file_).string())) {
    throw McException(masksDir_ + ": is on another file system than " + file_.string());
  }
  folder_.rollForward();
  folder_.removeStaged();
  staging_ = std::make_unique<SetStaging>(files_, masksDir_, file_.string());
}

/// A folder that was made for this save goes again.
void SetSave::undo() {
  staging_.reset();
  try {
    if (hasMadeFolder_ && !lock_) lock_ = SetLock::tryForSaving(files_, masksDir_);
    if (hasMadeFolder_ && lock_) lock_->removeFiles();
    lock_.reset();
    if (hasMadeFolder_) files_.removeDirectory(masksDir_);
  } catch (const std::exception& failure) {
    details::logFailure("A folder was left", failure.what());
  }
}

bool SetSave::ignoresCase() const {
  return details::MaskFiles::isSameFile(files_, masksDir_ + "/.lock", masksDir_ + "/.LOCK");
}

void SetSave::requireDistinctFiles(const std::vector<std::string>& maskNames) const {
  std::map<QString, std::string> folded;
  for (const std::string& name : maskNames) {
    const auto [other, isNew] =
        folded.emplace(QString::fromStdString(setfile::maskFileName(name)).toCaseFolded(), name);
    if (isNew || !ignoresCase()) continue;
    throw McException(file_.string() + ": the masks \"" + other->second + "\" and \"" + name +
                      "\" would have the same files, since letter case does not count in " + masksDir_);
  }
}

void SetSave::requireSpace(std::uint64_t bytes) const {
  const std::uint64_t free = files_.freeSpace(masksDir_);
  if (free >= bytes) return;
  throw McException(file_.string() + ": saving the set needs " + std::to_string(bytes) + " bytes, and only " +
                    std::to_string(free) + " are free in " + masksDir_);
}

bool SetSave::write(Mask& mask, const hxvoxora::WorkCallback& goOn) {
  return staging_->write(mask, goOn);
}

bool SetSave::hasFormerFiles(const Mask& mask) {
  const auto found = formerMasks().find(mask.id());
  if (found == formerMasks().end()) return false;
  const FormerMask& former = found->second;
  const path place = path(masksDir_) / setfile::maskFileName(mask.name());
  if (former.prefix != place) {
    throw SaveStopped(SaveStopped::Reason::failure, file_.string() + ": not saved, since mask " + mask.name() +
                                                        " could not be written, and its former files, of mask " +
                                                        former.name + " in " + former.prefix.string() +
                                                        ".ldm, would not be kept");
  }
  try {
    const auto file = hxvoxora::TiledFileReader::open(files_, place.string() + ".ldm");
    const SbVec3i32 tile = mask.volumeMask()->getTileDimension();
    return file->header().dimensions == mask.dimensions() &&
           file->header().tileDimensions == McVec3i(tile[0], tile[1], tile[2]);
  } catch (const McException&) {
    return false;
  }
}

const std::map<std::string, SetSave::FormerMask>& SetSave::formerMasks() {
  if (formerMasks_) return *formerMasks_;
  try {
    formerMasks_ = readFormerMasks();
  } catch (const McException& failure) {
    throw SaveStopped(SaveStopped::Reason::failure, failure.what());
  }
  return *formerMasks_;
}

/// None when there is no set in place.
std::map<std::string, SetSave::FormerMask> SetSave::readFormerMasks() const {
  std::map<std::string, FormerMask> masks;
  const auto mesh = parseSetFile(files_, file_);
  if (!mesh) return masks;
  const path folder = setfile::masksDirectory(mesh->parameters, file_);
  for (const setfile::MaskEntry& mask : setfile::masksOf(mesh->parameters)) {
    if (!mask.id.empty()) masks[mask.id] = {mask.name, folder / mask.file};
  }
  return masks;
}

void SetSave::finish(std::string_view setFileText, const HxParamBundle& content,
                     std::shared_ptr<const SetOrigin>& origin) {
  refuseSharedMasks(files_, file_, masksDir_, staging_->replacedMasks());
  staging_->writeSetFile(setFileText);
  if (!lock_->isInPlace()) throw McException(masksDir_ + "/.lock: was removed during the save");
  auto saved = std::make_shared<const SetOrigin>(files_, file_, setFileText, content, staging_->folder(), origin.get());
  staging_->commit();
  origin = std::move(saved);
  hasMadeFolder_ = false;
  try {
    folder_.rollForward();
  } catch (const std::exception& failure) {
    throw SaveStopped(SaveStopped::Reason::unfinished,
                      file_.string() +
                          ": is saved, but its files are not all in their places; whoever opens or saves "
                          "it next puts them there (" +
                          failure.what() + ")");
  }
}

}  // namespace hxroi
