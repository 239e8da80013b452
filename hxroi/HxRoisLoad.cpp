#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <boost/filesystem/operations.hpp>
#include <exception>
#include <memory>

#include "hxroi/HxRois.h"
#include "hxroi/detail/RoiDescription.h"
#include "hxroi/detail/SetFileLayout.h"
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

namespace fs = boost::filesystem;
namespace setfile = hxroi::setfile;
using hxroi::details::Group;
using hxroi::details::Mask;
using hxroi::details::Roi;
using hxvoxora::FileSystem;
using setfile::path;

namespace {

void requireSound(const HxParamBundle& parameters, const path& file) {
  std::string text;
  for (const std::string& problem : setfile::problemsOf(parameters, file)) text += (text.empty() ? "" : "\n") + problem;
  if (!text.empty()) throw McException(text);
}

/// The bundle of the ROIs, taken out of the parameters; an empty one when there is none.
HxParamBundle takeRois(HxParamBundle& parameters) {
  HxParamBundle rois = *parameters.getBundle(setfile::kRois, true);
  parameters.remove(setfile::kRois);
  return rois;
}

/// Where the files of a described mask lie, without extension.
path maskPrefix(const path& masksDir, const HxParamBundle& bundle) {
  std::string name;
  if (!bundle.findString(setfile::kFilename, name)) {
    throw hxException(QCoreApplication::translate("HxRois", "failed while retreiving mask %1 filename.")
                          .arg(QString::fromLatin1(bundle.name())));
  }
  if (const auto problem = setfile::problemOfFilename(bundle, masksDir)) {
    throw McException(masksDir.string() + ": ROI \"" + bundle.name() + "\": " + *problem);
  }
  return masksDir / name;
}

std::vector<path> maskPrefixes(const path& masksDir, const HxParamBundle& rois) {
  std::vector<path> prefixes;
  for (const HxParamBundle* bundle : setfile::subBundles(rois)) {
    if (setfile::describesMask(*bundle)) {
      prefixes.push_back(maskPrefix(masksDir, *bundle));
      continue;
    }
    for (const HxParamBundle* member : setfile::subBundles(*bundle)) {
      if (setfile::describesMask(*member)) prefixes.push_back(maskPrefix(masksDir, *member));
    }
  }
  return prefixes;
}

}  // namespace

int HxRois::readQuarnMesh_s(QuarnMesh* mesh, const char* filename) {
  const QString file = QFile::decodeName(filename);
  QString registerName = QFileInfo(file).fileName();
  const McHandle<HxRois> rois(new HxRois);
  if (!rois->readQuarnMesh(mesh, filename, registerName)) {
    HxMessage::ioError(file);
    return 0;
  }
  HxData::registerData(rois, registerName);
  return 1;
}

int HxRois::readQuarnMesh(QuarnMesh* mesh, const char* filename, QString& /*registerName*/) {
  bool complete = false;
  try {
    load(*mesh, filename);
    rebuildPortList();
    setLoadCmd(setfile::absoluteName(filename));
    complete = true;
  } catch (const std::exception& failure) {
    HxMessage::printf("%s", failure.what());
  }
  setSaveInfo(HxApplication::instance()->skin()->getSaveInfo());
  setModified(0);
  return complete ? 1 : 0;
}

void HxRois::load(const QuarnMesh& parsed, const path& file) {
  const hxroi::SetReading reading(FileSystem::current(), parsed, file);
  requireSound(reading.content(), file);
  fill(reading.content(), file);
  reading.end();
}

void HxRois::fill(const HxParamBundle& content, const path& file) {
  HxParamBundle settings = content;
  const HxParamBundle bundles = takeRois(settings);
  const path masksDir = setfile::masksDirectory(settings, file);
  refuseBorders(maskPrefixes(masksDir, bundles));

  parameters.copy(settings);
  for (const HxParamBundle* bundle : setfile::subBundles(bundles)) {
    McHandle<Roi> roi;
    if (setfile::describesMask(*bundle)) {
      roi = loadMask(masksDir, bundle);
    } else {
      roi = loadGroup(masksDir, bundle);
    }
    addRoi(roi);
  }
}

void HxRois::refuseBorders(const std::vector<path>& prefixes) const {
  std::string legacy;
  for (const path& prefix : prefixes) {
    const std::string header = prefix.string() + ".ldm";
    if (hasBorders(header)) legacy += (legacy.empty() ? "" : ", ") + header;
  }
  if (legacy.empty()) return;
  throw McException(legacy + ": tiles with borders, the older layout of mask files, cannot be read");
}

Mask* HxRois::loadMask(const path& masksDir, const HxParamBundle* bundle) const {
  std::unique_ptr<Mask> mask(Mask::loadFromFile(bundle->name(), maskPrefix(masksDir, *bundle)));
  hxroi::RoiDescription::apply(*bundle, *mask);
  return mask.release();
}

Group* HxRois::loadGroup(const path& masksDir, const HxParamBundle* bundle) const {
  auto group = std::make_unique<Group>(bundle->name(), Roi::nextHtmlColor(), nullptr);
  for (const HxParamBundle* member : setfile::subBundles(*bundle)) {
    if (!setfile::describesMask(*member)) continue;
    const McHandle<Mask> mask(loadMask(masksDir, member));
    group->addMask(mask);
  }
  hxroi::RoiDescription::apply(hxroi::RoiDescription::withoutMembers(*bundle), *group);
  return group.release();
}
