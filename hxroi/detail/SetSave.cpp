#include "hxroi/detail/SetSave.h"

#include <QFile>
#include <QFileInfo>
#include <QString>
#include <exception>

#include "hxroi/detail/SaveStopped.h"
#include "hxroi/detail/SetFileLayout.h"
#include "hxroi/details/Mask.h"
#include "hxroi/details/MaskFiles.h"
#include "hxroi/details/logFailure.h"
#include "quarn/base/McException.h"
#include "quarn/kernel/io/QuarnMesh.h"
#include "quarn/voxora/files/TiledFileReader.h"

namespace hxroi {

using details::Mask;
using hxvoxora::FileKind;
using hxvoxora::FileSystem;

namespace {

QString toQt(const boost::filesystem::path& name) {
  return QFile::decodeName(name.c_str());
}

/// Those who could not read the file before do not get to read it now.
FileSystem::Access accessOf(const boost::filesystem::path& file) {
  const QFileInfo info(toQt(file));
  constexpr auto others = QFileDevice::ReadGroup | QFileDevice::ReadOther;
  return info.exists() && !(info.permissions() & others) ? FileSystem::Access::ownerOnly : FileSystem::Access::byMask;
}

void addNames(const HxParamBundle& bundle, std::map<std::string, std::string>& names) {
  for (const HxParamBundle* roi : setfile::subBundles(bundle)) {
    std::string id;
    if (!setfile::describesMask(*roi)) {
      addNames(*roi, names);
    } else if (roi->findString(setfile::kId, id)) {
      names[id] = roi->name();
    }
  }
}

}  // namespace

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
  staging_ = std::make_unique<SetStaging>(files_, masksDir_);
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
    const auto [other, isNew] = folded.emplace(QString::fromStdString(name).toCaseFolded(), name);
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
  const auto former = formerNames().find(mask.id());
  if (former == formerNames().end()) return false;
  if (former->second != mask.name()) {
    throw SaveStopped(SaveStopped::Reason::failure, file_.string() + ": not saved, since mask " + mask.name() +
                                                        " could not be written, and its former files, of mask " +
                                                        former->second + ", would not be kept");
  }
  try {
    const auto file = hxvoxora::TiledFileReader::open(files_, masksDir_ + "/" + mask.name() + ".ldm");
    return file->header().dimensions == mask.dimensions();
  } catch (const McException&) {
    return false;
  }
}

const std::map<std::string, std::string>& SetSave::formerNames() {
  if (formerNames_) return *formerNames_;
  formerNames_.emplace();
  try {
    const auto mesh = QuarnMesh::read(toQt(file_));
    if (setfile::masksDirectory(mesh->parameters, file_) == path(masksDir_)) {
      addNames(*mesh->parameters.getBundle(setfile::kRois), *formerNames_);
    }
  } catch (const std::exception&) {
    // There is no set in place that could be loaded.
  }
  return *formerNames_;
}

void SetSave::finish(std::string_view setFileContent) {
  staging_->writeSetFile(file_.filename().string(), setFileContent, accessOf(file_));
  if (!lock_->isInPlace()) throw McException(masksDir_ + "/.lock: was removed during the save");
  staging_->commit();
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
