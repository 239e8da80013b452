#include "hxroi/detail/SetRecord.h"

#include <QFile>
#include <algorithm>
#include <array>
#include <boost/filesystem/operations.hpp>
#include <boost/filesystem/path.hpp>
#include <charconv>
#include <exception>
#include <optional>

#include "hxroi/HxRois.h"
#include "hxroi/detail/RoiDescription.h"
#include "hxroi/detail/SetFileLayout.h"
#include "hxroi/detail/SetPlace.h"
#include "hxroi/details/Group.h"
#include "hxroi/details/Mask.h"
#include "quarn/base/McColor.h"
#include "quarn/base/McException.h"
#include "quarn/kernel/app/HxFileHelpers.h"
#include "quarn/kernel/app/HxMessage.h"
#include "quarn/kernel/io/QuarnMesh.h"
#include "quarn/kernel/params/HxParamBundle.h"
#include "quarn/voxora/files/FileSystem.h"
#include "quarn/voxora/files/VolumeHeader.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"
#include "quarn/voxora/readers/SoLDMReader.h"

namespace hxroi::SetRecord {

using boost::filesystem::path;
using details::Group;
using details::Mask;
using details::Roi;

namespace {

constexpr const char* kContentType = "HxRoisRecord";
constexpr const char* kLabel = "label";
constexpr const char* kParameters = "parameters";
/// A mask that reads files of a saved set: their path without extension, and the mark of the save that they are of.
constexpr const char* kSource = "__source";
constexpr const char* kGeneration = "__generation";
/// A mask that was never written, none of whose voxels is set: its grid.
constexpr const char* kGrid = "__grid";
/// A mask whose voxels are nowhere on disk: its grid. Without the element it would be taken for a group.
constexpr const char* kLost = "__lost";

std::string gridText(const McVec3i& n) {
  return std::to_string(n.x) + " " + std::to_string(n.y) + " " + std::to_string(n.z);
}

std::optional<McVec3i> gridFrom(const std::string& text) {
  std::array<int, 3> n{};
  const char* at = text.data();
  const char* const end = text.data() + text.size();
  for (int& size : n) {
    while (at != end && *at == ' ') ++at;
    const auto [next, error] = std::from_chars(at, end, size);
    if (error != std::errc() || size <= 0) return std::nullopt;
    at = next;
  }
  return at == end ? std::optional(McVec3i(n[0], n[1], n[2])) : std::nullopt;
}

bool hasTemporaryFiles(const Mask& mask) {
  const std::string& prefix = mask.temporaryPrefix();
  return mask.ownsTemporaryFiles() && !prefix.empty() &&
         hxvoxora::FileSystem::current().kind(prefix + ".ldm") == hxvoxora::FileKind::regular;
}

/// The save that the files a mask reads are of.
std::string generationOf(const Mask& mask) {
  const auto* reader = dynamic_cast<const SoLDMReader*>(mask.volumeMask()->reader());
  return reader && reader->header() ? std::to_string(reader->header()->generation) : std::string();
}

/// Whether the grid tells all about the voxels.
bool isUnwrittenEmpty(const Mask& mask) {
  const SoVolumeMask& node = *mask.volumeMask();
  return !node.hasUnsavedEdits() && node.fileName().empty() && !node.defaultValue();
}

/// Only what is saved beside a set has a name that others know.
void describeVoxels(const Mask& mask, HxParamBundle& bundle) {
  const std::string file = mask.volumeMask()->fileName();
  if (hasTemporaryFiles(mask)) {
    bundle.set(setfile::kFilename, path(mask.temporaryPrefix()).filename().string());
  } else if (!mask.ownsTemporaryFiles() && !file.empty()) {
    bundle.set(kSource, boost::filesystem::absolute(file).replace_extension().string());
    bundle.set(kGeneration, generationOf(mask));
  } else {
    bundle.set(isUnwrittenEmpty(mask) ? kGrid : kLost, gridText(mask.dimensions()));
  }
}

std::unique_ptr<HxParamBundle> describe(const Mask& mask) {
  auto bundle = RoiDescription::of(mask);
  const McColor color = mask.color(false);
  const float rgb[] = {color.r, color.g, color.b};
  bundle->set(setfile::kColor, 3, rgb);
  for (const char* element : {setfile::kFilename, kSource, kGeneration, kGrid, kLost}) bundle->remove(element);
  describeVoxels(mask, *bundle);
  return bundle;
}

bool isMask(const HxParamBundle& bundle) {
  const auto elements = {setfile::kFilename, kSource, kGrid, kLost};
  return std::any_of(elements.begin(), elements.end(), [&](const char* name) { return bundle.findBase(name); });
}

const HxParamBundle* roisOf(const QuarnMesh& record) {
  return dynamic_cast<const HxParamBundle*>(record.parameters.findBase(setfile::kRois));
}

/// Makes the ROIs of one record.
class Loading {
public:
  explicit Loading(const LoadStored& loadStored) : loadStored_(loadStored) {}

  /// Null, with a line on the console, for what cannot be brought back.
  McHandle<Roi> roi(const HxParamBundle& bundle) const {
    if (isMask(bundle)) return mask(bundle);
    const McHandle<Group> group(new Group(bundle.name(), Roi::nextHtmlColor(), nullptr));
    HxParamBundle rest = bundle;
    for (const HxParamBundle* member : setfile::subBundles(bundle)) {
      if (!isMask(*member)) continue;
      rest.remove(member->name());
      if (const McHandle<Mask> found = mask(*member)) group->addMask(found);
    }
    RoiDescription::apply(rest, *group);
    return group;
  }

private:
  McHandle<Mask> mask(const HxParamBundle& bundle) const {
    try {
      McHandle<Mask> mask = voxels(bundle);
      if (!mask) throw McException("its voxels are lost");
      HxParamBundle attributes = bundle;
      for (const char* element : {kSource, kGeneration, kGrid, kLost}) attributes.remove(element);
      RoiDescription::apply(attributes, *mask);
      return mask;
    } catch (const std::exception& failure) {
      HxMessage::printf("Mask %s is not recovered: %s", bundle.name().c_str(), failure.what());
      return {};
    }
  }

  McHandle<Mask> voxels(const HxParamBundle& bundle) const {
    const std::string name = bundle.name();
    std::string text;
    if (bundle.findString(setfile::kFilename, text)) return loadStored_(text, name);
    if (bundle.findString(kSource, text)) return borrowed(bundle, text);
    if (bundle.findString(kLost, text)) return {};
    const auto grid = bundle.findString(kGrid, text) ? gridFrom(text) : std::nullopt;
    if (!grid) throw McException("its grid is not known");
    return McHandle<Mask>(new Mask(name, *grid, false, Roi::nextHtmlColor(), nullptr));
  }

  /// Another mask may stand where the files were.
  static McHandle<Mask> borrowed(const HxParamBundle& bundle, const std::string& prefix) {
    McHandle<Mask> mask(Mask::loadFromFile(bundle.name(), prefix));
    std::string generation;
    bundle.findString(kGeneration, generation);
    if (generationOf(*mask) != generation) throw McException(prefix + ".ldm: is not of the save that it read");
    return mask;
  }

  const LoadStored& loadStored_;
};

}  // namespace

QuarnMesh of(const HxRois& rois) {
  QuarnMesh mesh;
  mesh.parameters.set(setfile::kContentType, kContentType);
  mesh.parameters.set(kLabel, rois.getLabel().toStdString());
  HxParamBundle& parameters = *mesh.parameters.getBundle(kParameters, true);
  parameters.copy(rois.parameters);
  storePlace(rois, parameters);
  HxParamBundle& bundles = *mesh.parameters.getBundle(setfile::kRois, true);
  for (const auto& roi : rois) {
    if (const auto* mask = dynamic_cast<const Mask*>(roi.get())) bundles.insert(describe(*mask));
    const auto* group = dynamic_cast<const Group*>(roi.get());
    if (!group) continue;
    auto bundle = RoiDescription::of(*group);
    for (const Mask& member : *group) bundle->insert(describe(member));
    bundles.insert(std::move(bundle));
  }
  return mesh;
}

void write(const HxRois& rois, const std::string& file) {
  HxFileHelpers::replaceFile(QFile::decodeName(file.c_str()), of(rois).toText(true, false));
}

std::unique_ptr<QuarnMesh> read(const std::string& file) {
  auto mesh = QuarnMesh::read(QFile::decodeName(file.c_str()));
  std::string contentType;
  mesh->parameters.findString(setfile::kContentType, contentType);
  if (contentType != kContentType || !roisOf(*mesh))
    throw McException(McException::excerpt(file) + ": is no record of a ROI set");
  return mesh;
}

int maskCount(const QuarnMesh& record) {
  int count = 0;
  for (const HxParamBundle* bundle : setfile::subBundles(*roisOf(record))) {
    if (isMask(*bundle)) ++count;
    for (const HxParamBundle* member : setfile::subBundles(*bundle)) count += !isMask(*bundle) && isMask(*member);
  }
  return count;
}

std::string label(const QuarnMesh& record) {
  std::string text;
  record.parameters.findString(kLabel, text);
  return text;
}

McHandle<HxRois> load(const QuarnMesh& record, const LoadStored& loadStored) {
  McHandle<HxRois> rois(new HxRois);
  rois->setLabel(QString::fromStdString(label(record)));
  if (const auto* parameters = dynamic_cast<const HxParamBundle*>(record.parameters.findBase(kParameters)))
    rois->parameters.copy(*parameters);
  const Loading loading(loadStored);
  for (const HxParamBundle* bundle : setfile::subBundles(*roisOf(record))) {
    try {
      if (const McHandle<Roi> roi = loading.roi(*bundle)) rois->addRoi(roi);
    } catch (const std::exception& failure) {
      HxMessage::printf("ROI %s is not recovered: %s", bundle->name().c_str(), failure.what());
    }
  }
  rois->rebuildPortList();
  return rois;
}

}  // namespace hxroi::SetRecord
