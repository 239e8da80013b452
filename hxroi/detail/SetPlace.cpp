#include "hxroi/detail/SetPlace.h"

#include <vector>

#include "hxroi/HxRois.h"
#include "quarn/base/McException.h"
#include "quarn/kernel/fields/HxUniformScalarField3.h"
#include "quarn/kernel/fields/geometryParameters.h"
#include "quarn/kernel/objects/hxconnection_cast.h"
#include "quarn/kernel/params/HxParamBundle.h"

namespace hxroi {

namespace {

constexpr const char* kGeometry = "Geometry";
constexpr const char* kDimensions = "Dimensions";

bool isSound(const HxGeometry3& geometry) {
  try {
    requireSoundGeometry(geometry);
    return true;
  } catch (const McException&) {
    return false;
  }
}

/// Whether what is remembered is not of a grid that the set had before.
bool isForGrid(const HxParamBundle& parameters, const HxRois& rois) {
  std::vector<double> grid;
  if (rois.masks().empty() || !parameters.getBundle(kGeometry)->findReals(kDimensions, grid)) return true;
  const McVec3i& now = rois.dimensions();
  return grid ==
         std::vector<double>{static_cast<double>(now.x), static_cast<double>(now.y), static_cast<double>(now.z)};
}

}  // namespace

std::optional<HxGeometry3> placeOf(const HxRois& rois) {
  if (const auto* field = hxconnection_cast<HxUniformScalarField3>(rois.portData)) return field->geometry();
  const std::optional<HxGeometry3> remembered = findGeometry(rois.parameters);
  if (remembered && isSound(*remembered) && isForGrid(rois.parameters, rois)) return remembered;
  return std::nullopt;
}

void storePlace(const HxGeometry3& geometry, const McDim3l& grid, HxParamBundle& parameters) {
  if (!isSound(geometry)) return;
  storeGeometry(geometry, parameters);
  parameters.getBundle(kGeometry)->set(
      kDimensions,
      std::vector<double>{static_cast<double>(grid.nx), static_cast<double>(grid.ny), static_cast<double>(grid.nz)});
}

void storePlace(const HxRois& rois, HxParamBundle& parameters) {
  if (const auto* field = hxconnection_cast<HxUniformScalarField3>(rois.portData))
    storePlace(field->geometry(), field->latticeDimensions(), parameters);
}

void copyPlace(const HxRois& from, HxRois& to) {
  to.parameters.remove(kGeometry);
  if (const HxParamBundle* remembered = from.parameters.getBundle(kGeometry))
    *to.parameters.getBundle(kGeometry) = *remembered;
  to.portData.connect(from.portData.source());
}

}  // namespace hxroi
