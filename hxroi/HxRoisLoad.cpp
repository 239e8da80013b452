#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <boost/filesystem/operations.hpp>
#include <exception>
#include <memory>

#include "hxroi/HxRois.h"
#include "hxroi/detail/RoiDescription.h"
#include "hxroi/detail/SetFileLayout.h"
#include "hxroi/detail/SetOrigin.h"
#include "hxroi/detail/SetReading.h"
#include "hxroi/details/Group.h"
#include "hxroi/details/Mask.h"
#include "hxroi/details/Roi.h"
#include "quarn/base/McException.h"
#include "quarn/kernel/HxException.h"
#include "quarn/kernel/app/HxApplication.h"
#include "quarn/kernel/app/HxMessage.h"
#include "quarn/kernel/io/QuarnMesh.h"
#include "quarn/kernel/params/HxParamBundle.h"
#include "quarn/voxora/files/FileSystem.h"
#include "quarn/voxora/files/fileSetParts.h"

namespace fs = boost::filesystem;
namespace setfile = hxroi::setfile;
using hxroi::details::Group;
using hxroi::details::Mask;
using hxroi::details::Roi;
using hxvoxora::FileKind;
using hxvoxora::FileSystem;
using setfile::path;

namespace {

/// The bundle of the ROIs, taken out of the parameters; an empty one when there is none.
HxParamBundle takeRois(HxParamBundle& parameters) {
  HxParamBundle rois = *parameters.getBundle(setfile::kRois, true);
  parameters.remove(setfile::kRois);
  return rois;
}

/// What is wrong with several things, so that all of it is told and not only what comes first.
class Problems {
public:
  /// Runs `step`, which may fail.
  template <class Step>
  void collect(const Step& step) {
    try {
      step();
    } catch (const McException& problem) {
      text_ += (text_.empty() ? "" : "\n") + std::string(problem.what());
    }
  }

  void throwIfAny() const {
    if (!text_.empty()) throw McException(text_);
  }

  bool any() const { return !text_.empty(); }

private:
  std::string text_;
};

}  // namespace

int HxRois::readQuarnMesh_s(QuarnMesh* mesh, const char* filename) {
  const QString file = QFile::decodeName(filename);
  QString registerName = QFileInfo(file).fileName();
  const McHandle<HxRois> rois(new HxRois);
  if (!rois->readQuarnMesh(mesh, filename, registerName)) {
    HxMessage::ioError(file);
    return 0;
  }
  HxData::registerData(rois, QFileInfo(registerName).fileName());
  return 1;
}

int HxRois::readQuarnMesh(QuarnMesh* mesh, const char* filename, QString& registerName) {
  bool complete = false;
  try {
    QString upgraded;
    if (upgradeRois(mesh, filename, upgraded)) {
      const path file = upgraded.isEmpty() ? path(filename) : path(QFile::encodeName(upgraded).toStdString());
      if (!upgraded.isEmpty()) registerName = upgraded;
      load(*mesh, file);
      rebuildPortList();
      setLoadCmd(setfile::absoluteName(file));
      complete = true;
    }
  } catch (const std::exception& failure) {
    HxMessage::printf("%s", failure.what());
  }
  setSaveInfo(HxApplication::instance()->skin()->getSaveInfo());
  setModified(0);
  return complete ? 1 : 0;
}

bool HxRois::isFromSetFile() const {
  const bool hasEnding = getLoadCmd().endsWith(QStringLiteral(".qm"), Qt::CaseInsensitive);
  return !getLoadCmd().isEmpty() && (origin_ || hasEnding);
}

void HxRois::requireCompanionFiles() const {
  HxData::requireCompanionFiles();
  if (!isFromSetFile()) return;
  const path file(QFile::encodeName(getLoadCmd()).toStdString());
  const HxParamBundle content = QuarnMesh::read(getLoadCmd())->parameters;
  setfile::requireSound(content, file);
  for (const path& prefix : maskFiles(setfile::masksDirectory(content, file), content))
    hxvoxora::fileSetBytes(FileSystem::current(), prefix.string() + ".ldm");
}

void HxRois::load(const QuarnMesh& parsed, const path& file) {
  const hxroi::SetReading reading(FileSystem::current(), parsed, file);
  setfile::requireSound(reading.content(), file);
  fill(reading.content(), file);
  reading.end();
  origin_ = hxroi::SetOrigin::read(FileSystem::current(), file, reading.content());
}

void HxRois::fill(const HxParamBundle& content, const path& file) {
  HxParamBundle settings = content;
  const HxParamBundle bundles = takeRois(settings);
  const path masksDir = setfile::masksDirectory(settings, file);
  if (!maskFiles(masksDir, content).empty() && FileSystem::current().kind(masksDir.string()) == FileKind::missing) {
    throw McException(masksDir.string() + ": the folder with the masks of " + file.string() +
                      " is missing; a set file and its folder go together and keep their names");
  }

  parameters.copy(settings);
  Problems problems;
  for (const HxParamBundle* bundle : setfile::subBundles(bundles)) {
    McHandle<Roi> roi;
    problems.collect([&] { roi = loadRoi(masksDir, bundle); });
    if (!problems.any()) addLoaded(roi, file);
  }
  problems.throwIfAny();
}

Roi* HxRois::loadRoi(const path& masksDir, const HxParamBundle* bundle) const {
  if (setfile::describesMask(*bundle)) return loadMask(masksDir, bundle);
  return loadGroup(masksDir, bundle);
}

void HxRois::addLoaded(Roi* roi, const path& file) {
  try {
    addRoi(roi);
  } catch (const McException& refusal) {
    throw McException(file.string() + ": ROI \"" + roi->name() + "\": " + refusal.what());
  }
}

Mask* HxRois::loadMask(const path& masksDir, const HxParamBundle* bundle) const {
  std::unique_ptr<Mask> mask(Mask::loadFromFile(bundle->name(), extractLdmFilenameFromBundle(masksDir, bundle)));
  hxroi::RoiDescription::apply(*bundle, *mask);
  return mask.release();
}

Group* HxRois::loadGroup(const path& masksDir, const HxParamBundle* bundle) const {
  auto group = std::make_unique<Group>(bundle->name(), Roi::nextHtmlColor(), nullptr);
  Problems problems;
  std::size_t masks = 0;
  for (const HxParamBundle* member : setfile::subBundles(*bundle)) {
    if (!setfile::describesMask(*member)) continue;
    // No set could take it, and all files would be open.
    if (++masks > kMaximumNumberOfMasks) {
      throw McException(masksDir.string() + ": ROI \"" + bundle->name() + "\": a group of more than " +
                        std::to_string(kMaximumNumberOfMasks) + " masks");
    }
    problems.collect([&] {
      const McHandle<Mask> mask(loadMask(masksDir, member));
      group->addMask(mask);
    });
  }
  problems.throwIfAny();
  hxroi::RoiDescription::apply(hxroi::RoiDescription::withoutMembers(*bundle), *group);
  return group.release();
}
