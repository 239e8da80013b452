#include <QCoreApplication>
#include <QFile>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "hxroi/HxRois.h"
#include "hxroi/detail/SetFileLayout.h"
#include "hxroi/detail/SetReading.h"
#include "hxroi/detail/SetUpgrade.h"
#include "hxroi/internal/QxRoiUpdateDialog.h"
#include "quarn/base/McEnvironment.h"
#include "quarn/base/McException.h"
#include "quarn/kernel/HxException.h"
#include "quarn/kernel/app/HxApplication.h"
#include "quarn/kernel/app/HxMessage.h"
#include "quarn/kernel/app/HxPreferences.h"
#include "quarn/kernel/io/QuarnMesh.h"
#include "quarn/kernel/params/HxParamBundle.h"
#include "quarn/voxora/files/FileSystem.h"

/// ROI sets whose masks have files of the older layout.

namespace setfile = hxroi::setfile;
using hxroi::SetUpgrade;
using hxvoxora::FileSystem;
using setfile::path;

namespace {

using Masks = std::vector<SetUpgrade::MaskFiles>;

QString toQt(const path& name) {
  return QFile::decodeName(name.c_str());
}

std::string inQuotes(const char* text) {
  return std::string("\"") + text + "\"";
}

HxPreferences::OlderFiles preferred() {
  return HxApplication::instance()->settings()->getPreferences()->getOlderFiles();
}

/// Where nobody can be asked.
[[noreturn]] void refuseUnasked(const path& file, const Masks& masks) {
  std::string legacy;
  for (const auto& mask : masks) {
    if (mask.isLegacy) legacy += (legacy.empty() ? "" : ", ") + mask.prefix.string() + ".ldm";
  }
  throw McException(legacy + ": tiles with borders, the older layout of mask files; the set must be upgraded before " +
                    "it can be loaded, and nobody can be asked where to. Set the preference " +
                    inQuotes("Upgrade Older Files") + " to beside (the upgraded set becomes " +
                    QFile::encodeName(QxRoiUpdateDialog::proposedName(toQt(file))).toStdString() +
                    ") or to replace, and load it again");
}

/// Nothing when the user does not want to.
std::optional<QString> askForOutput(const path& file, const Masks& masks) {
  if (!HxApplication::canAsk()) refuseUnasked(file, masks);
  QxRoiUpdateDialog dialog(toQt(file), HxApplication::mainWidget(), nullptr, true, Qt::WindowFlags());
  if (dialog.exec() == QDialog::Accepted) return dialog.filename();
  HxMessage::printf("%s: is of an older format and was not upgraded, so that it is not loaded", file.c_str());
  return std::nullopt;
}

void tellUnasked(const path& file, const char* why) {
  HxMessage::printf("%s: is of an older format and is upgraded without asking, since %s", file.c_str(), why);
}

void warnReplaced() {
  HxMessage::warning(QCoreApplication::translate("HxRois", "Update Legacy ROI file."),
                     QCoreApplication::translate(
                         "HxRois", "The format of the ROI file is deprecated. It will be updated automatically."));
}

/// The name of the upgraded set; nothing when the user does not want one.
std::optional<QString> chooseOutput(const path& file, const Masks& masks, bool mustReplace) {
  const bool prefersReplacing = preferred() == HxPreferences::OlderFiles::Replace;
  if (mustReplace || prefersReplacing) {
    tellUnasked(file, mustReplace ? "existing sets are to be replaced" : "the preferences say so");
    warnReplaced();
    return toQt(file);
  }
  const bool isTest = McEnvironment::getBool("RUNNING_TEST", true, false);
  if (!isTest && preferred() == HxPreferences::OlderFiles::Ask) return askForOutput(file, masks);
  tellUnasked(file, isTest ? "RUNNING_TEST is set" : "the preferences say so");
  return QxRoiUpdateDialog::proposedName(toQt(file));
}

}  // namespace

bool HxRois::s_replaceExistingROIsWhenUpgrading = false;

void HxRois::replaceExistingROIsWhenUpgrading(bool replace) {
  s_replaceExistingROIsWhenUpgrading = replace;
}

bool HxRois::upgradeRois(QuarnMesh* mesh, const char* filename, QString& registerName) {
  FileSystem& files = FileSystem::current();
  const path file(filename);
  setfile::requireSound(mesh->parameters, file);
  if (SetUpgrade::finishReplacement(files, file, setfile::masksDirectory(mesh->parameters, file))) {
    mesh->parameters.set(setfile::kMasksDirectory, setfile::masksDirectoryName(file));
  }
  // A save that was interrupted may have begun to replace the old masks.
  const hxroi::SetReading reading(files, *mesh, file);
  const HxParamBundle& content = reading.content();
  setfile::requireSound(content, file);
  const path masksDir = setfile::masksDirectory(content, file);
  Masks masks;
  bool isLegacy = false;
  for (const path& prefix : maskFiles(masksDir, content)) {
    masks.push_back({prefix, hasBorders(prefix.string() + ".ldm")});
    isLegacy = isLegacy || masks.back().isLegacy;
  }
  if (!isLegacy) return true;

  const std::optional<QString> output = chooseOutput(file, masks, s_replaceExistingROIsWhenUpgrading);
  if (!output) return false;
  const path outputFile(QFile::encodeName(*output).toStdString());
  HxParamBundle updated = content;
  updated.set(setfile::kMasksDirectory, setfile::masksDirectoryName(outputFile));
  if (!SetUpgrade(files, file, masksDir, std::move(masks)).run(outputFile, updated)) return false;
  mesh->parameters = updated;
  registerName = *output;
  return true;
}

path HxRois::extractLdmFilenameFromBundle(const path& masksDir, const HxParamBundle* maskBundle) const {
  std::string name;
  if (!maskBundle->findString(setfile::kFilename, name)) {
    throw hxException(QCoreApplication::translate("HxRois", "failed while retreiving mask %1 filename.")
                          .arg(QString::fromLatin1(maskBundle->name())));
  }
  if (const auto problem = setfile::problemOfFilename(*maskBundle, masksDir)) {
    throw McException(masksDir.string() + ": ROI \"" + maskBundle->name() + "\": " + *problem);
  }
  return masksDir / name;
}

std::vector<path> HxRois::extractFilenamesFromGroup(const path& masksDir, const HxParamBundle* groupBundle) const {
  std::vector<path> names;
  for (const HxParamBundle* member : setfile::subBundles(*groupBundle)) {
    if (setfile::describesMask(*member)) names.push_back(extractLdmFilenameFromBundle(masksDir, member));
  }
  return names;
}

/// The files, without extension, of all masks that a set file describes.
std::vector<path> HxRois::maskFiles(const path& masksDir, const HxParamBundle& setParameters) const {
  std::vector<path> names;
  const auto* rois = dynamic_cast<const HxParamBundle*>(setParameters.findBase(setfile::kRois));
  if (!rois) return names;
  for (const HxParamBundle* bundle : setfile::subBundles(*rois)) {
    if (setfile::describesMask(*bundle)) {
      names.push_back(extractLdmFilenameFromBundle(masksDir, bundle));
    } else {
      const std::vector<path> members = extractFilenamesFromGroup(masksDir, bundle);
      names.insert(names.end(), members.begin(), members.end());
    }
  }
  return names;
}
