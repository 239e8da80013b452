#include "hxroi/detail/SetVerifier.h"

#include <exception>
#include <utility>

#include "hxroi/HxRois.h"
#include "hxroi/detail/SetFileLayout.h"
#include "hxroi/detail/SetReading.h"
#include "hxroi/detail/SetUpgrade.h"
#include "hxroi/details/MaskHeader.h"
#include "hxroi/details/Roi.h"
#include "hxroi/details/boxes.h"
#include "hxroi/details/toolkitBoxes.h"
#include "quarn/base/McException.h"
#include "quarn/kernel/params/HxParamBundle.h"
#include "quarn/voxora/files/FileSystem.h"
#include "quarn/voxora/files/TiledFileReader.h"
#include "quarn/voxora/files/checkVolume.h"

namespace hxroi {

namespace MaskHeader = details::MaskHeader;
using hxvoxora::TiledFileReader;
using hxvoxora::VolumeCheck;

namespace {

std::string sizeText(const McVec3i& size) {
  return std::to_string(size.x) + " x " + std::to_string(size.y) + " x " + std::to_string(size.z);
}

McBox3i wholeGrid(const McVec3i& n) {
  return McBox3i(0, n.x - 1, 0, n.y - 1, 0, n.z - 1);
}

/// What is wrong with a box that the header keeps. It may be larger than the content, never smaller.
void checkBox(const TiledFileReader& file, const char* element, const VolumeCheck& content,
              std::vector<std::string>& problems) {
  const auto text = file.findHeaderTag(element);
  if (!text || text->empty()) return;
  const std::string what = file.path() + ": element " + element + " \"" + McException::excerpt(*text) + "\": ";
  const auto box = MaskHeader::parseBox(*text);
  if (!box) {
    problems.push_back(what + "not six numbers");
  } else if (*box != emptyBox<int>() && (box->isEmpty() || !wholeGrid(file.header().dimensions).contains(*box))) {
    problems.push_back(what + "not a box inside the volume");
  } else if (content.setVoxels > 0 && (box->isEmpty() || !box->contains(fromToolkit(content.bounds)))) {
    problems.push_back(what + "there are set voxels outside of it");
  }
}

std::string contentText(const TiledFileReader& file, const VolumeCheck& content) {
  return sizeText(file.header().dimensions) + " voxels, " + std::to_string(content.setVoxels) + " set, " +
         std::to_string(file.storedCount()) + " tiles of " + std::to_string(file.header().tileBytes()) + " bytes read";
}

}  // namespace

SetVerifier::SetVerifier(boost::filesystem::path file, const HxVerificationReport& report)
    : file_(std::move(file)), report_(report) {}

void SetVerifier::run(const QuarnMesh& mesh) {
  try {
    finishUpgrade(mesh.parameters);
    const SetReading reading(hxvoxora::FileSystem::current(), mesh, file_);
    check(reading.content());
    reading.end();
  } catch (const std::exception& failure) {
    report_(QString::fromStdString(failure.what()), false);
  }
}

void SetVerifier::finishUpgrade(const HxParamBundle& parameters) const {
  if (setfile::problemOfMasksDirectory(parameters, file_)) return;
  const boost::filesystem::path masksDir = setfile::masksDirectory(parameters, file_);
  SetUpgrade::finishReplacement(hxvoxora::FileSystem::current(), file_, masksDir);
}

void SetVerifier::check(const HxParamBundle& parameters) {
  const std::vector<std::string> problems = setfile::problemsOf(parameters, file_);
  for (const std::string& problem : problems) report_(QString::fromStdString(problem), false);
  masksDir_ = setfile::masksDirectory(parameters, file_);
  const auto* rois = dynamic_cast<const HxParamBundle*>(parameters.findBase(setfile::kRois));
  // Where the names are not to be followed nothing is opened.
  if (!rois || setfile::problemOfMasksDirectory(parameters, file_)) return;
  for (const HxParamBundle* roi : setfile::subBundles(*rois)) checkRoi(*roi);
  reportStrangers();
  if (masks_ > static_cast<int>(HxRois::kMaximumNumberOfMasks)) {
    report_(QString::fromStdString(file_.string() + ": " + std::to_string(masks_) + " masks, more than " +
                                   std::to_string(HxRois::kMaximumNumberOfMasks)),
            false);
  }
}

void SetVerifier::checkRoi(const HxParamBundle& roi) {
  checkName(roi);
  if (setfile::describesMask(roi)) return checkMask(roi);
  for (const HxParamBundle* member : setfile::subBundles(roi)) {
    if (!setfile::describesMask(*member)) continue;
    checkName(*member);
    checkMask(*member);
  }
}

void SetVerifier::checkName(const HxParamBundle& roi) {
  const std::string name = roi.name();
  if (details::Roi::fixedName(name) != name) reportUnsound(roi, "is no name of a ROI");
  if (!names_.insert(name).second) reportUnsound(roi, "another ROI of the set has this name");
}

void SetVerifier::checkMask(const HxParamBundle& mask) {
  ++masks_;
  if (setfile::problemOfFilename(mask, masksDir_)) return;  // told already
  std::string name;
  mask.findString(setfile::kFilename, name);
  if (!files_.insert(name).second) reportUnsound(mask, "another ROI of the set has the files \"" + name + "\"");
  try {
    const auto file = TiledFileReader::open(hxvoxora::FileSystem::current(), (masksDir_ / name).string() + ".ldm");
    const VolumeCheck content = hxvoxora::checkVolume(*file);
    std::vector<std::string> problems = content.damage;
    if (content.damagedTiles > problems.size()) {
      problems.push_back(std::to_string(content.damagedTiles - problems.size()) + " more tiles are damaged");
    }
    checkBox(*file, MaskHeader::kBoundingBox, content, problems);
    checkBox(*file, MaskHeader::kApproximatedBoundingBox, content, problems);
    checkGrid(*file, problems);
    checkNames(*file, name, problems);
    for (const std::string& problem : problems) reportUnsound(mask, problem);
    if (problems.empty())
      report_(QString::fromLatin1(mask.name()) + ": " + QString::fromStdString(contentText(*file, content)), true);
  } catch (const std::exception& failure) {
    reportUnsound(mask, failure.what());
  }
}

/// Files that were copied over those of another mask are whole, and the voxels are not those of the mask.
void SetVerifier::checkNames(const TiledFileReader& file, const std::string& name, std::vector<std::string>& problems) {
  const std::string& data = file.header().dataFile;
  if (data == name + ".dat") return;
  problems.push_back(file.path() + ": belongs to the data file \"" + McException::excerpt(data) +
                     "\", as if it were a copy of another mask");
}

void SetVerifier::checkGrid(const TiledFileReader& file, std::vector<std::string>& problems) {
  const McVec3i &n = file.header().dimensions, &tile = file.header().tileDimensions;
  if (!dimensions_) {
    dimensions_ = n;
    tileDimensions_ = tile;
  }
  if (n != *dimensions_) problems.push_back(sizeText(n) + " voxels, unlike the masks before it");
  if (tile != *tileDimensions_)
    problems.push_back("tiles of " + sizeText(tile) + " voxels, unlike the masks before it");
}

/// Masks that were taken out of the set stay in its folder when it is saved again; nothing is wrong with that.
void SetVerifier::reportStrangers() {
  auto& files = hxvoxora::FileSystem::current();
  if (files.kind(masksDir_.string()) != hxvoxora::FileKind::directory) return;
  std::string names;
  for (const std::string& entry : files.list(masksDir_.string())) {
    const boost::filesystem::path name(entry);
    if (name.extension() != ".ldm" || files_.contains(name.stem().string())) continue;
    names += (names.empty() ? "" : ", ") + name.stem().string();
  }
  if (!names.empty())
    report_(QString::fromStdString(masksDir_.string() + ": masks of no ROI of the set: " + names), true);
}

void SetVerifier::reportUnsound(const HxParamBundle& roi, const std::string& problem) {
  report_(QString::fromStdString("ROI \"" + McException::excerpt(roi.name()) + "\": " + problem), false);
}

}  // namespace hxroi
