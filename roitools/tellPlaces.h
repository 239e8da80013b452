#pragma once

#include <QString>
#include <optional>

#include "quarn/base/McDim3l.h"
#include "quarn/kernel/fields/HxGeometry3.h"
#include "roitools/export.h"

class HxRois;
class HxUniformScalarField3;

namespace roitools {

/// Something that lies in the world: a field, or a set whose place is known.
struct PlacedGrid {
  QString label;
  McDim3l dimensions;
  HxGeometry3 geometry;
};

/// Nothing without a field.
ROITOOLS_API std::optional<PlacedGrid> placedGrid(const HxUniformScalarField3* field);
/// The field at the "data" of a set or, without one, the set with the place that it remembers; nothing when neither is
/// known or the set has no masks.
ROITOOLS_API std::optional<PlacedGrid> placedGrid(const HxRois& rois);

/// Voxels of fields and sets are compared by their indices. When two have one grid but lie in different places of the
/// world, a line on the console tells.
ROITOOLS_API void tellPlaces(const std::optional<PlacedGrid>& grid, const std::optional<PlacedGrid>& other);

}  // namespace roitools
