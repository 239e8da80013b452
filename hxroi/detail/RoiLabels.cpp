#include "hxroi/detail/RoiLabels.h"

#include <QCoreApplication>
#include <algorithm>

#include "hxroi/HxRois.h"
#include "hxroi/detail/LabelConversion.h"
#include "hxroi/detail/SetPlace.h"
#include "hxroi/details/Mask.h"
#include "hxroi/details/SplitProgress.h"
#include "hxroi/details/toolkitBoxes.h"
#include "quarn/kernel/fields/HxUniformLabelField3.h"
#include "quarn/kernel/fields/geometryParameters.h"
#include "quarn/kernel/objects/hxconnection_cast.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"

namespace hxroi {

using details::Mask;

namespace {

constexpr const char* kGeometry = "Geometry";

/// Parameters may tell anything: what no field can have is left out.
std::optional<HxGeometry3> findSoundGeometry(const HxParamBundle& parameters) {
  const auto geometry = findGeometry(parameters);
  if (!geometry) return std::nullopt;
  try {
    requireSoundGeometry(*geometry);
  } catch (const McException&) {
    return std::nullopt;
  }
  return geometry;
}

}  // namespace

RoiLabels::RoiLabels(HxRois& rois, const std::vector<const Mask*>& masks) : grid_(rois.dimensions()) {
  rois.getBoundingBox(box_.data());
  const auto* field = hxconnection_cast<HxRegScalarField3>(rois.portData);
  geometry_ = field ? findSoundGeometry(field->parameters) : placeOf(rois);

  const HxParamBundle& records = *rois.parameters.getMaterials(1);
  for (const Mask* mask : masks) {
    const bool isPresent = std::ranges::find(rois.masks(), mask) != rois.masks().end();
    if (isPresent) add(*mask, records, static_cast<std::uint8_t>(masks_.size() + 1));
  }
}

void RoiLabels::add(const Mask& mask, const HxParamBundle& records, std::uint8_t label) {
  masks_.push_back({mask.volumeMask()->snapshot(), label});
  const HxParamBundle* const record = records.getBundle(mask.name());
  if (!record) return;
  Material material{mask.name(), label, std::nullopt};
  if (McColor color; record->getMaterialColor(color)) material.color = color;
  materials_.push_back(material);
}

McHandle<HxUniformLabelField3> RoiLabels::makeField(McProgressInterface& progress) const {
  details::SplitProgress shown(&progress);
  if (shown.isInterrupted()) throw ConversionInterrupted();
  shown.start(QCoreApplication::translate("HxRoisToHxUniformLabelField3", "Making labels").toStdString());
  McHandle<HxUniformLabelField3> field(new HxUniformLabelField3(grid_));
  const McVec3i size(static_cast<int>(grid_.nx), static_cast<int>(grid_.ny), static_cast<int>(grid_.nz));
  const auto joined = hxvoxora::joinLabels(masks_, overlapId, toToolkit(size), field->lattice().getLabels(),
                                           [&shown](double fraction) { return shown.goOn(fraction); });
  if (!joined) throw ConversionInterrupted();
  addMaterials(*field, joined->hasOverlaps);
  return field;
}

void RoiLabels::addMaterials(HxUniformLabelField3& field, bool hasOverlaps) const {
  HxParamBundle& materials = *field.materials();
  for (const Material& material : materials_) {
    HxParamBundle& bundle = *materials.getBundle(material.name);
    bundle.set("Id", material.id);
    if (material.color) bundle.setMaterialColor(*material.color);
  }
  if (hasOverlaps) materials.getBundle(kOverlapName)->set("Id", int{overlapId});
}

void RoiLabels::place(HxUniformLabelField3& field) const {
  field.parameters.remove(kGeometry);
  field.setBoundingBox(box_);
  // Not by the field, which would make the box that of the geometry.
  if (geometry_) storeGeometry(*geometry_, field.parameters);
}

}  // namespace hxroi
