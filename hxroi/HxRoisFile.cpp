#include <QFile>
#include <boost/filesystem/operations.hpp>
#include <cstdint>
#include <exception>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "hxroi/HxRois.h"
#include "hxroi/detail/MaskTarget.h"
#include "hxroi/detail/RoiSaver.h"
#include "hxroi/detail/SaveStopped.h"
#include "hxroi/detail/SetFileLayout.h"
#include "hxroi/detail/SetOrigin.h"
#include "hxroi/detail/SetPlace.h"
#include "hxroi/detail/SetSave.h"
#include "hxroi/detail/savedBytes.h"
#include "hxroi/details/Group.h"
#include "hxroi/details/Mask.h"
#include "hxroi/details/Roi.h"
#include "quarn/base/McException.h"
#include "quarn/kernel/app/HxMessage.h"
#include "quarn/kernel/io/QuarnMesh.h"
#include "quarn/kernel/params/HxParamBundle.h"
#include "quarn/voxora/files/FileSystem.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"

namespace fs = boost::filesystem;
namespace setfile = hxroi::setfile;
using hxroi::SaveStopped;
using hxroi::details::Group;
using hxroi::details::Mask;
using hxroi::details::Roi;
using hxvoxora::FileSystem;
using setfile::path;

namespace {

constexpr unsigned int kAllFlags = 0xFFFFFFFF;

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

/// One of two would vanish. A set can get them when a renaming was refused by another set that has the ROI too.
void requireDistinctNames(const HxRois& rois, const path& file) {
  std::set<std::string> names;
  const auto add = [&](const Roi& roi) {
    if (names.insert(roi.name()).second) return;
    throw McException(file.string() + ": not saved, since two ROIs of the set have the name " + roi.name() +
                      "; give one of them another name");
  };
  for (const auto& roi : rois) {
    add(*roi);
    const auto* group = dynamic_cast<const Group*>(roi.get());
    if (!group) continue;
    for (const Mask& member : *group) add(member);
  }
}

/// What cannot be loaded again must not take the place of a good file.
void requireLoadable(const QByteArray& text, const path& file) {
  try {
    setfile::requireSound(QuarnMesh::parse(text, QFile::decodeName(file.c_str()))->parameters, file);
  } catch (const McException& failure) {
    throw McException(file.string() + ": not saved, since the set could not be loaded again: " + failure.what());
  }
}

/// Masks that were renamed since they were loaded read files that the save may replace by those of other masks. Where
/// the temporary storage has no room they go on reading those that they have open.
void detachRenamedMasks(const HxRois& rois, const path& masksDir) {
  for (Mask* mask : rois.editableMasks()) {
    const path source = borrowedFile(*mask);
    if (source.empty() || source.stem() == setfile::maskFileName(mask->name())) continue;
    if (!isSameFolder(setfile::folderOf(source), masksDir)) continue;
    try {
      mask->saveMaskToTemporary();
    } catch (const std::exception& failure) {
      HxMessage::printf("Mask %s keeps reading %s, whatever takes the place of it: %s", mask->name().c_str(),
                        source.c_str(), failure.what());
    }
  }
}

/// Writes masks straight into a folder.
class PlainFolder : public hxroi::MaskTarget {
public:
  explicit PlainFolder(path folder) : folder_(std::move(folder)) {}
  bool write(Mask& mask, const hxvoxora::WorkCallback& goOn) override {
    return mask.writeToFile(folder_ / setfile::maskFileName(mask.name()), goOn);
  }
  bool hasFormerFiles(const Mask&) override { return false; }

private:
  path folder_;
};

std::vector<std::string> maskNames(const HxRois& rois) {
  std::vector<std::string> names;
  for (const Mask* mask : rois.masks()) names.push_back(mask->name());
  return names;
}

/// What the files of masks will take that are to be written into this folder.
std::uint64_t bytesToSave(const HxRois& rois, const path& masksDir) {
  std::uint64_t bytes = 0;
  for (const Mask* mask : rois.masks()) {
    bytes += hxroi::savedBytes(*mask, (masksDir / setfile::maskFileName(mask->name())).string());
  }
  return bytes;
}

}  // namespace

int HxRois::write(const char* filename, bool flagA, bool flagB) {
  const QString target = QFile::decodeName(filename);
  try {
    applyPortChanges();
    saveTo(filename, flagA, flagB);
    return 1;
  } catch (const SaveStopped& stop) {
    if (stop.reason() == SaveStopped::Reason::interrupt) {
      // Who interrupts needs no box that tells him so.
      HxMessage::printf("%s: saving was interrupted, nothing has changed there", filename);
      return 0;
    }
    HxMessage::printf("%s", stop.what());
  } catch (const std::exception& failure) {
    HxMessage::printf("%s", failure.what());
  }
  HxMessage::ioError(target);
  return 0;
}

void HxRois::saveTo(const char* filename, bool flagA, bool flagB) {
  const path file(filename);
  const std::string directoryName = setfile::masksDirectoryName(file);
  const path masksDir = setfile::folderOf(file) / directoryName;
  setfile::requireWritable(file, masksDir);
  refuseOwnMasksFolder(*this, file);
  requireDistinctNames(*this, file);

  QuarnMesh mesh;
  mesh.parameters.copy(parameters);
  hxroi::storePlace(*this, mesh.parameters);
  mesh.parameters.set(setfile::kContentType, setfile::kContentTypeValue);
  mesh.parameters.set(setfile::kMasksDirectory, directoryName);
  // Without ROIs the descriptions may be those of masks whose files are there already.
  if (!rois_.empty()) mesh.parameters.remove(setfile::kRois);
  HxParamBundle* bundles = mesh.parameters.getBundle(setfile::kRois);

  hxroi::SetSave save(FileSystem::current(), file, masksDir);
  if (origin_) origin_->requireUnchanged(FileSystem::current(), file);
  save.requireDistinctFiles(maskNames(*this));
  HxMessage::printf("Saving masks to %s", masksDir.c_str());
  hxroi::SavingProgress progress(masks_.size());
  detachRenamedMasks(*this, masksDir);
  hxroi::RoiSaver::describeAll(*this, *bundles);
  save.requireSpace(bytesToSave(*this, masksDir) + static_cast<std::uint64_t>(mesh.toText(flagA, flagB).size()));
  hxroi::RoiSaver saver(save, &progress);
  saver.writeAll(*this, *bundles);
  const QByteArray text = mesh.toText(flagA, flagB);
  requireLoadable(text, file);
  save.finish(text.toStdString(), mesh.parameters, origin_);

  setLoadCmd(setfile::absoluteName(file));
  parameters.set(setfile::kMasksDirectory, directoryName);
  hxroi::storePlace(*this, parameters);
  // First 0, so that touches not counted yet are not counted against what is saved now.
  HxData::setModified(0);
  if (!saver.isComplete()) {
    HxData::setModified(kAllFlags);
    saver.reportFailures(file);
  }
}

HxParamBundle* HxRois::saveMask(const std::string& masksDir, Mask* mask) const {
  PlainFolder folder(masksDir);
  return hxroi::RoiSaver(folder).saveMask(*mask).release();
}

HxParamBundle* HxRois::saveGroup(const std::string& masksDir, const Group* group) const {
  PlainFolder folder(masksDir);
  // Saving flushes the members and changes nothing else about them.
  return hxroi::RoiSaver(folder).saveGroup(const_cast<Group&>(*group)).release();
}
