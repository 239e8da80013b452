#include <QFile>
#include <boost/filesystem/operations.hpp>
#include <exception>
#include <string>

#include "hxroi/HxRois.h"
#include "hxroi/detail/RoiSaver.h"
#include "hxroi/detail/SetFileLayout.h"
#include "hxroi/details/Group.h"
#include "hxroi/details/Mask.h"
#include "quarn/base/McException.h"
#include "quarn/kernel/app/HxMessage.h"
#include "quarn/kernel/io/QuarnMesh.h"
#include "quarn/kernel/params/HxParamBundle.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"

namespace fs = boost::filesystem;
namespace setfile = hxroi::setfile;
using hxroi::details::Group;
using hxroi::details::Mask;
using setfile::path;

namespace {

constexpr unsigned int kAllFlags = 0xFFFFFFFF;

/// The folder for the masks; one that this save has made goes again unless the save is kept.
class MasksFolder {
public:
  explicit MasksFolder(path folder) : folder_(std::move(folder)), made_(fs::create_directory(folder_)) {}
  ~MasksFolder() {
    boost::system::error_code ignored;
    if (made_ && !kept_) fs::remove_all(folder_, ignored);
  }
  MasksFolder(const MasksFolder&) = delete;
  MasksFolder& operator=(const MasksFolder&) = delete;
  void keep() { kept_ = true; }

private:
  path folder_;
  bool made_;
  bool kept_ = false;
};

bool isSameFolder(const path& a, const path& b) {
  boost::system::error_code unknown;
  return fs::equivalent(a, b, unknown) && !unknown;
}

/// The file that a borrowed mask reads; empty for a mask with files of its own.
path borrowedFile(const Mask& mask) {
  return mask.ownsTemporaryFiles() ? path() : path(mask.volumeMask()->fileName());
}

/// A set saved among its own masks would be found neither by its user nor by its next save.
void refuseOwnMasksFolder(const HxRois& rois, const path& file) {
  if (rois.getLoadCmd().isEmpty()) return;
  const path former(QFile::encodeName(rois.getLoadCmd()).toStdString());
  if (isSameFolder(setfile::masksDirectory(rois.parameters, former), setfile::folderOf(file))) {
    throw McException(file.string() + ": lies in the folder of the masks of " + former.string());
  }
}

/// Masks that were renamed since they were loaded read files that the save may replace by those of other masks.
void detachRenamedMasks(const HxRois& rois, const path& masksDir) {
  for (const Mask* mask : rois.masks()) {
    const path source = borrowedFile(*mask);
    if (source.empty() || source.stem() == mask->name()) continue;
    if (isSameFolder(setfile::folderOf(source), masksDir)) rois.getMask(mask->name())->saveMaskToTemporary();
  }
}

}  // namespace

int HxRois::write(const char* filename, bool flagA, bool flagB) {
  const QString target = QFile::decodeName(filename);
  try {
    applyPortChanges();
    if (saveTo(filename, flagA, flagB)) return 1;
  } catch (const std::exception& failure) {
    HxMessage::printf("%s", failure.what());
  }
  HxMessage::ioError(target);
  return 0;
}

bool HxRois::saveTo(const char* filename, bool flagA, bool flagB) {
  const path file(filename);
  const std::string directoryName = setfile::masksDirectoryName(file);
  const path masksDir = setfile::folderOf(file) / directoryName;
  setfile::requireWritable(file, masksDir);
  refuseOwnMasksFolder(*this, file);

  QuarnMesh mesh;
  mesh.parameters.copy(parameters);
  mesh.parameters.set(setfile::kContentType, setfile::kContentTypeValue);
  mesh.parameters.set(setfile::kMasksDirectory, directoryName);
  mesh.parameters.remove(setfile::kRois);
  HxParamBundle* bundles = mesh.parameters.getBundle(setfile::kRois);

  MasksFolder folder(masksDir);
  HxMessage::printf("Saving masks to %s", masksDir.c_str());
  detachRenamedMasks(*this, masksDir);
  hxroi::SavingProgress progress(masks_.size());
  hxroi::RoiSaver saver(masksDir, &progress);
  saver.saveAll(*this, *bundles);
  if (!mesh.write(filename, QuarnMesh::TEXT, nullptr, flagA, flagB)) return false;

  folder.keep();
  setLoadCmd(setfile::absoluteName(file));
  parameters.set(setfile::kMasksDirectory, directoryName);
  // First 0, so that touches not counted yet are not counted against what is saved now.
  HxData::setModified(0);
  if (!saver.isComplete()) {
    HxData::setModified(kAllFlags);
    saver.reportFailures(file);
  }
  return true;
}

HxParamBundle* HxRois::saveMask(const std::string& masksDir, Mask* mask) const {
  return hxroi::RoiSaver(masksDir).saveMask(*mask).release();
}

HxParamBundle* HxRois::saveGroup(const std::string& masksDir, const Group* group) const {
  // Saving flushes the members and changes nothing else about them.
  return hxroi::RoiSaver(masksDir).saveGroup(const_cast<Group&>(*group)).release();
}
