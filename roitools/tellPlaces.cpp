#include "roitools/tellPlaces.h"

#include <QCoreApplication>

#include "hxroi/HxRois.h"
#include "hxroi/detail/SetPlace.h"
#include "quarn/kernel/app/HxMessage.h"
#include "quarn/kernel/fields/HxUniformScalarField3.h"
#include "quarn/kernel/objects/hxconnection_cast.h"
#include "roitools/exchange/placeOfSet.h"

namespace roitools {

std::optional<PlacedGrid> placedGrid(const HxUniformScalarField3* field) {
  if (!field) return std::nullopt;
  return PlacedGrid{field->getLabel(), field->latticeDimensions(), field->geometry()};
}

std::optional<PlacedGrid> placedGrid(const HxRois& rois) {
  if (const auto* field = hxconnection_cast<HxUniformScalarField3>(rois.portData)) return placedGrid(field);
  const std::optional<HxGeometry3> place = hxroi::placeOf(rois);
  if (!place || rois.masks().empty()) return std::nullopt;
  const McVec3i& grid = rois.dimensions();
  return PlacedGrid{rois.getLabel(), {grid.x, grid.y, grid.z}, *place};
}

void tellPlaces(const std::optional<PlacedGrid>& grid, const std::optional<PlacedGrid>& other) {
  if (!grid || !other || grid->dimensions != other->dimensions) return;
  if (isSamePlace(grid->dimensions, grid->geometry, other->geometry)) return;
  const QString text = QCoreApplication::translate(
      "roitools", "%1 and %2 have one grid but lie in different places; voxels are compared by their indices.");
  HxMessage::printf("%s", qUtf8Printable(text.arg(grid->label, other->label)));
}

}  // namespace roitools
