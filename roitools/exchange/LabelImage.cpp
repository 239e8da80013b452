#include "roitools/exchange/LabelImage.h"

#include <algorithm>
#include <cstring>
#include <oneapi/tbb/parallel_for.h>

#include "hxroi/HxRois.h"
#include "quarn/kernel/fields/HxUniformLabelField3.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"
#include "roitools/exchange/placeOfSet.h"

namespace roitools {

using hxroi::details::Mask;

namespace {

constexpr int slicesPerTask = 8;

/// Draws the part of a mask that lies in some slices.
void drawSlices(HxUniformLabelField3& field, const MaskContent& content, std::uint8_t label, int z0, int z1) {
  const McBox3i& box = content.box;
  const int first = std::max(z0, box[4]), last = std::min(z1, box[5]);
  if (box.isEmpty() || first > last) return;
  const McDim3l size = field.latticeDimensions();
  std::uint8_t* const labels = field.lattice().getLabels();
  const SbBox3i32 part(SbVec3i32(box[0], box[2], first), SbVec3i32(box[1], box[3], last));
  content.voxels.forEachRun(part, [&](int y, int z, int x0, int x1) {
    std::memset(labels + (z * size.ny + y) * size.nx + x0, label, static_cast<std::size_t>(x1 - x0));
  });
}

}  // namespace

void drawLabel(HxUniformLabelField3& field, const MaskContent& content, std::uint8_t label) {
  const int slices = static_cast<int>(field.latticeDimensions().nz);
  tbb::parallel_for(0, (slices + slicesPerTask - 1) / slicesPerTask, [&](int task) {
    drawSlices(field, content, label, task * slicesPerTask, task * slicesPerTask + slicesPerTask - 1);
  });
}

LabelImage::LabelImage(const HxRois& rois)
    : set_(ExchangedSet::of(rois, rois.getLabel())),
      grid_(rois.dimensions()),
      geometry_(geometryToWrite(rois, rois.getLabel())) {
  for (const ExchangedMask& entry : set_.masks)
    contents_.push_back({entry.mask->volumeMask()->snapshot(), entry.mask->getBoundingBox()});
}

bool LabelImage::findOverlaps(const GoOn& goOn, std::vector<Overlap>& overlaps) const {
  const std::optional<OverlapCounts> counts = countSharedVoxels(contents_, goOn);
  if (!counts) return false;
  for (std::size_t first = 0; first < contents_.size(); ++first)
    for (std::size_t second = first + 1; second < contents_.size(); ++second)
      if (const std::uint64_t voxels = counts->shared(first, second)) overlaps.push_back({first, second, voxels});
  return true;
}

QString LabelImage::nameOf(std::size_t number) const {
  return QString::fromLatin1(set_.masks[number].mask->name().c_str());
}

QString LabelImage::textOf(const Overlap& overlap) const {
  return QStringLiteral("%1 and %2 share %3 voxels")
      .arg(nameOf(overlap.first), nameOf(overlap.second))
      .arg(overlap.voxels);
}

McHandle<HxUniformLabelField3> LabelImage::makeField(const GoOn& goOn) const {
  const McHandle<HxUniformLabelField3> field(new HxUniformLabelField3({grid_.x, grid_.y, grid_.z}));
  field->setGeometry(geometry_);
  addMaterials(*field);
  for (std::size_t i = 0; i < contents_.size(); ++i) {
    if (!goOn(static_cast<double>(i) / static_cast<double>(contents_.size()))) return {};
    drawLabel(*field, contents_[i], static_cast<std::uint8_t>(i + 1));
  }
  return field;
}

/// Of label 0 and those of the masks.
std::vector<std::string> LabelImage::materialNames() const {
  std::vector<std::string> names = {"Exterior"};
  for (const ExchangedMask& entry : set_.masks) {
    std::string name = entry.mask->name();
    const std::string number = "-" + std::to_string(names.size());
    while (std::ranges::find(names, name) != names.end()) name += number;
    names.push_back(name);
  }
  return names;
}

void LabelImage::addMaterials(HxUniformLabelField3& field) const {
  HxParamBundle& materials = *field.materials();
  const std::vector<std::string> names = materialNames();
  for (std::size_t label = 0; label < names.size(); ++label) {
    HxParamBundle& material = *materials.getBundle(names[label]);
    material.set("Id", static_cast<int>(label));
    if (label > 0) material.setMaterialColor(set_.masks[label - 1].mask->color(false));
  }
}

QStringList LabelImage::renamed() const {
  QStringList renamed;
  const std::vector<std::string> names = materialNames();
  for (std::size_t i = 0; i < set_.masks.size(); ++i)
    if (const QString name = QString::fromLatin1(names[i + 1].c_str()); name != nameOf(i))
      renamed.append(nameOf(i) + QStringLiteral(" -> ") + name);
  return renamed;
}

QStringList LabelImage::emptyMasks() const {
  QStringList names;
  for (std::size_t i = 0; i < contents_.size(); ++i)
    if (contents_[i].box.isEmpty()) names.append(nameOf(i));
  return names;
}

QStringList LabelImage::groups() const {
  QStringList names;
  for (const ExchangedGroup& group : set_.groups) names.append(QString::fromStdString(group.name));
  return names;
}

}  // namespace roitools
