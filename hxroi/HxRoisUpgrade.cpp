#include <QCoreApplication>
#include <QFile>
#include <algorithm>
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

path fromQt(const QString& name) {
  return QFile::encodeName(name).toStdString();
}

std::string inQuotes(const char* text) {
  return std::string("\"") + text + "\"";
}

HxPreferences::OlderFiles preferred() {
  return HxApplication::instance()->settings()->getPreferences()->getOlderFiles();
}

Masks withLayout(const HxRois& rois, const std::vector<path>& prefixes) {
  Masks masks;
  for (const path& prefix : prefixes) masks.push_back({prefix, rois.hasBorders(prefix.string() + ".ldm")});
  return masks;
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

/// Asks until the upgrade is possible. Nothing when the user does not want to.
std::optional<path> askForOutput(const path& file, const Masks& masks, const SetUpgrade& upgrade) {
  if (!HxApplication::canAsk()) refuseUnasked(file, masks);
  QxRoiUpdateDialog dialog(toQt(file), HxApplication::mainWidget(), nullptr, true, Qt::WindowFlags());
  while (dialog.exec() == QDialog::Accepted) {
    const path output = fromQt(dialog.filename());
    try {
      upgrade.requirePossible(output);
      return output;
    } catch (const McException& problem) {
      HxMessage::warning(QString::fromUtf8(problem.what()));
    }
  }
  HxMessage::printf("%s: is of an older format and was not upgraded, so that it is not loaded", file.c_str());
  return std::nullopt;
}

void warnReplaced() {
  HxMessage::warning(QCoreApplication::translate("HxRois", "Update Legacy ROI file."),
                     QCoreApplication::translate(
                         "HxRois", "The format of the ROI file is deprecated. It will be updated automatically."));
}

struct Unasked {
  bool replace;
  const char* why;
};

/// What is done without asking; nothing when the user is to be asked.
std::optional<Unasked> decideUnasked(bool mustReplace) {
  if (mustReplace) return Unasked{true, "existing sets are to be replaced"};
  if (McEnvironment::getBool("RUNNING_TEST", true, false)) return Unasked{false, "RUNNING_TEST is set"};
  if (preferred() == HxPreferences::OlderFiles::Ask) return std::nullopt;
  return Unasked{preferred() == HxPreferences::OlderFiles::Replace, "the preferences say so"};
}

/// The upgraded set; nothing when the user does not want one.
std::optional<path> chooseOutput(const path& file, const Masks& masks, const SetUpgrade& upgrade, bool mustReplace) {
  const std::optional<Unasked> unasked = decideUnasked(mustReplace);
  if (!unasked) return askForOutput(file, masks, upgrade);
  const path output = unasked->replace ? file : fromQt(QxRoiUpdateDialog::proposedName(toQt(file)));
  HxMessage::printf("%s: is of an older format and is upgraded without asking, since %s", file.c_str(), unasked->why);
  // There is no other name for files without the usual ending.
  if (upgrade.replaces(output)) warnReplaced();
  return output;
}

/// Files of the older layout may have names that leave no room for those that are written; gives each mask of `bundle`,
/// the ROIs or a group, the name that its upgraded files have.
void renameFiles(HxParamBundle& bundle) {
  for (int i = 0; i < bundle.bundleCount(); ++i) {
    HxParamBundle& mask = *bundle.getBundle(i);
    std::string name;
    if (mask.findString(setfile::kFilename, name)) mask.set(setfile::kFilename, setfile::maskFileName(name));
  }
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
  std::optional<SetUpgrade> upgrade;
  Masks masks;
  HxParamBundle updated;
  {
    // A save that was interrupted may have begun to replace the old masks. Others may save while the user thinks.
    const hxroi::SetReading reading(files, *mesh, file);
    updated = reading.content();
    setfile::requireSound(updated, file);
    const path masksDir = setfile::masksDirectory(updated, file);
    masks = withLayout(*this, maskFiles(masksDir, updated));
    if (std::ranges::none_of(masks, &SetUpgrade::MaskFiles::isLegacy)) return true;
    upgrade.emplace(files, file, masksDir, masks);
    reading.end();
  }
  const std::optional<path> output = chooseOutput(file, masks, *upgrade, s_replaceExistingROIsWhenUpgrading);
  if (!output) return false;
  const path target = upgrade->targetOf(*output);
  updated.set(setfile::kMasksDirectory, setfile::masksDirectoryName(target));
  HxParamBundle& rois = *updated.getBundle(setfile::kRois);
  renameFiles(rois);
  for (int i = 0; i < rois.bundleCount(); ++i) {
    if (!setfile::describesMask(*rois.getBundle(i))) renameFiles(*rois.getBundle(i));
  }
  if (!upgrade->run(target, updated)) return false;
  mesh->parameters = updated;
  registerName = toQt(target);
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
