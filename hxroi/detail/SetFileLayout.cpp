#include "hxroi/detail/SetFileLayout.h"

#include <QFile>
#include <QFileInfo>
#include <algorithm>
#include <boost/filesystem/operations.hpp>
#include <cmath>
#include <set>
#include <span>

#include "quarn/base/McException.h"
#include "quarn/kernel/app/HxFileHelpers.h"
#include "quarn/voxora/files/byteCodec.h"
#include "quarn/voxora/files/fileNames.h"
#include "quarn/voxora/files/fileSetParts.h"

namespace fs = boost::filesystem;

namespace hxroi::setfile {

namespace {

QString toQt(const path& name) {
  return QFile::decodeName(name.c_str());
}

std::string inQuotes(std::string_view value) {
  return "\"" + McException::excerpt(value) + "\"";
}

void requireWritableFolder(const path& folder) {
  if (!HxFileHelpers::isWritable(toQt(folder))) {
    throw McException(folder.string() + ": not a folder in which files can be made");
  }
}

/// A folder that is a link leads elsewhere.
bool isFolderOrMissing(const path& folder) {
  boost::system::error_code ignored;
  const fs::file_status status = fs::symlink_status(folder, ignored);
  return !fs::exists(status) || fs::is_directory(status);
}

/// Neither a link, a device nor a pipe.
bool isRegularOrMissing(const path& file) {
  boost::system::error_code ignored;
  const fs::file_status status = fs::symlink_status(file, ignored);
  return !fs::exists(status) || fs::is_regular_file(status);
}

/// Whether a ROI has the element; a member of a group may happen to have the name of one.
bool hasElement(const HxParamBundle& roi, const char* name) {
  const HxParamBase* element = roi.findBase(name);
  return element && !(element->isBundle() && describesMask(static_cast<const HxParamBundle&>(*element)));
}

std::string noFolderOfItsOwn(const path& folder) {
  return folder.string() + ": exists and is not a folder of its own";
}

void addMask(const HxParamBundle& bundle, std::vector<MaskEntry>& masks) {
  MaskEntry mask{bundle.name(), {}, {}};
  bundle.findString(kFilename, mask.file);
  bundle.findString(kId, mask.id);
  if (hxvoxora::isPlainName(mask.file)) masks.push_back(std::move(mask));
}

/// Collects what is wrong with one set file.
class Inspection {
public:
  explicit Inspection(const path& file) : file_(file) {}

  std::vector<std::string> run(const HxParamBundle& parameters) && {
    inspectMasksDirectory(parameters);
    inspectRois(parameters);
    return std::move(problems_);
  }

private:
  void inspectMasksDirectory(const HxParamBundle& parameters) {
    if (const auto problem = problemOfMasksDirectory(parameters, file_)) return report(*problem);
    masksDir_ = masksDirectory(parameters, file_);
  }

  void inspectRois(const HxParamBundle& parameters) {
    const HxParamBase* element = parameters.findBase(kRois);
    if (!element) return;
    if (!element->isBundle()) return report("__rois is not a bundle");
    const auto& rois = static_cast<const HxParamBundle&>(*element);
    for (int i = 0; i < rois.size(); ++i) {
      if (!rois[i]->isBundle()) report(*rois[i], "is a parameter where a bundle belongs");
    }
    for (const HxParamBundle* bundle : subBundles(rois)) {
      inspect(*bundle);
      if (describesMask(*bundle)) continue;
      for (const HxParamBundle* member : subBundles(*bundle)) {
        if (member->findBase(kFilename)) inspect(*member);
      }
    }
  }

  void inspect(const HxParamBundle& roi) {
    if (roi.name().empty()) report(roi, "has no name");
    if (const auto problem = problemOfFilename(roi, masksDir_)) report(roi, *problem);
    inspectColor(roi);
    inspectId(roi);
  }

  void inspectColor(const HxParamBundle& roi) {
    float color[3];
    if (!hasElement(roi, kColor)) return;
    const bool isColor = roi.findReals(kColor, 3, color) &&
                         std::all_of(color, color + 3, [](float part) { return std::isfinite(part); });
    if (!isColor) report(roi, "__color is not three reals");
  }

  void inspectId(const HxParamBundle& roi) {
    if (!hasElement(roi, kId)) return;
    std::string id;
    if (!roi.findString(kId, id)) {
      report(roi, "Id is not a text");
    } else if (!ids_.insert(id).second) {
      report(roi, "Id " + inQuotes(id) + " belongs to another ROI of the set");
    }
  }

  void report(const std::string& what) { problems_.push_back(file_.string() + ": " + what); }
  void report(const HxParamBase& roi, const std::string& what) { report("ROI " + inQuotes(roi.name()) + ": " + what); }

  path file_;
  path masksDir_;  ///< empty when the name of the folder is not to be followed
  std::set<std::string> ids_;
  std::vector<std::string> problems_;
};

}  // namespace

path folderOf(const path& file) {
  const path folder = file.parent_path();
  return folder.empty() ? path(".") : folder;
}

QString absoluteName(const path& file) {
  return QFileInfo(toQt(file)).absoluteFilePath();
}

std::string masksDirectoryName(const path& file) {
  return file.stem().string() + "-masks";
}

std::string maskFileName(std::string_view maskName) {
  // While a mask is written its files have longer names.
  static const std::size_t longest = hxvoxora::maxNameBytes - hxvoxora::asideName(".dat", 1).size();
  if (maskName.size() <= longest) return std::string(maskName);
  const std::string rest = hxvoxora::asideName("", hxvoxora::checksumOf(std::as_bytes(std::span(maskName))));
  return std::string(maskName.substr(0, longest - rest.size())) + rest;
}

void requireWritable(const path& file, const path& masksDir) {
  requireWritableFolder(folderOf(file));
  if (!hxvoxora::isPlainName(masksDir.filename().string())) {
    throw McException(file.string() + ": the name of the file does not make a name for the folder of its masks");
  }
  const fs::file_status target = fs::symlink_status(file);
  if (fs::exists(target) && !fs::is_regular_file(target)) {
    throw McException(file.string() + ": exists and is not a regular file");
  }
  if (fs::exists(target) && !QFileInfo(toQt(file)).isWritable()) {
    throw McException(file.string() + ": the file is write protected");
  }
  if (!isFolderOrMissing(masksDir)) throw McException(noFolderOfItsOwn(masksDir));
  if (fs::exists(masksDir)) requireWritableFolder(masksDir);
}

path masksDirectory(const HxParamBundle& parameters, const path& file) {
  std::string name = masksDirectoryName(file);
  parameters.findString(kMasksDirectory, name);
  return folderOf(file) / name;
}

std::optional<std::string> problemOfMasksDirectory(const HxParamBundle& parameters, const path& file) {
  std::string name = masksDirectoryName(file);
  if (parameters.findBase(kMasksDirectory) && !parameters.findString(kMasksDirectory, name)) {
    return "masks-directory is not a text";
  }
  if (!hxvoxora::isPlainName(name)) {
    return "masks-directory " + inQuotes(name) + " is not the name of a folder beside the file";
  }
  const path folder = folderOf(file) / name;
  if (!isFolderOrMissing(folder)) return "masks-directory " + inQuotes(name) + ": " + noFolderOfItsOwn(folder);
  return std::nullopt;
}

std::vector<std::string> problemsOf(const HxParamBundle& parameters, const path& file) {
  return Inspection(file).run(parameters);
}

void requireSound(const HxParamBundle& parameters, const path& file) {
  std::string text;
  for (const std::string& problem : problemsOf(parameters, file)) text += (text.empty() ? "" : "\n") + problem;
  if (!text.empty()) throw McException(text);
}

std::optional<std::string> problemOfFilename(const HxParamBundle& mask, const path& masksDir) {
  if (!hasElement(mask, kFilename)) return std::nullopt;
  std::string name;
  if (!mask.findString(kFilename, name)) return "__filename is not a text";
  if (!hxvoxora::isPlainName(name)) return "__filename " + inQuotes(name) + " is not a plain file name";
  for (const char* suffix : {".ldm", ".fcp", ".dat"}) {
    if (!masksDir.empty() && !isRegularOrMissing(masksDir / (name + suffix))) {
      return "__filename " + inQuotes(name) + ": " + (masksDir / (name + suffix)).string() + " is not a regular file";
    }
  }
  return std::nullopt;
}

bool describesMask(const HxParamBundle& bundle) {
  std::string name;
  return bundle.findString(kFilename, name);
}

std::vector<MaskEntry> masksOf(const HxParamBundle& parameters) {
  std::vector<MaskEntry> masks;
  const HxParamBase* rois = parameters.findBase(kRois);
  if (!rois || !rois->isBundle()) return masks;
  for (const HxParamBundle* roi : subBundles(static_cast<const HxParamBundle&>(*rois))) {
    if (describesMask(*roi)) {
      addMask(*roi, masks);
      continue;
    }
    for (const HxParamBundle* member : subBundles(*roi)) {
      if (describesMask(*member)) addMask(*member, masks);
    }
  }
  return masks;
}

std::vector<const HxParamBundle*> subBundles(const HxParamBundle& bundle) {
  std::vector<const HxParamBundle*> bundles;
  for (int i = 0; i < bundle.bundleCount(); ++i) bundles.push_back(bundle.getBundle(i));
  return bundles;
}

}  // namespace hxroi::setfile
