#pragma once

#include <QString>
#include <optional>

#include "hxroi/export.h"
#include "quarn/base/McDim3l.h"
#include "quarn/kernel/fields/HxGeometry3.h"

class HxRois;
class HxUniformScalarField3;

/// \file
/// Voxels of fields and sets are compared and copied by their indices, wherever those lie in the world. Users are told
/// when that joins different places. For the user-interface thread.

namespace hxroi {

/// Something that lies in the world: a field, or a set whose place is known.
struct PlacedGrid {
  QString label;
  McDim3l dimensions;
  HxGeometry3 geometry;
};

/// Nothing without a field.
HXROI_API std::optional<PlacedGrid> placedGrid(const HxUniformScalarField3* field);
/// A set with its own place (see placeOf()); nothing when that is not known or the set has no masks.
HXROI_API std::optional<PlacedGrid> placedGrid(const HxRois& rois);

/// Whether the corners of a grid lie where they do by another geometry. Files round their numbers: a thousandth of a
/// voxel does not count.
HXROI_API bool isSamePlace(const McDim3l& grid, const HxGeometry3& geometry, const HxGeometry3& other);

/// Whether two have one grid but lie in different places; false when the place of one is not known.
HXROI_API bool liesElsewhere(const std::optional<PlacedGrid>& grid, const std::optional<PlacedGrid>& other);

/// A warning, one line that names both places and ends with `consequence`, when liesElsewhere().
HXROI_API bool warnOfPlaces(const std::optional<PlacedGrid>& grid, const std::optional<PlacedGrid>& other,
                            const QString& consequence);

}  // namespace hxroi
