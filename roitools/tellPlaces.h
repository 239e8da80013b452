#pragma once

#include "hxroi/detail/placedGrids.h"
#include "roitools/export.h"

class HxTable;

namespace roitools {

using hxroi::placedGrid;
using Placed = std::optional<hxroi::PlacedGrid>;

/// Voxels of fields and sets are compared by their indices. When two have one grid but lie in different places of the
/// world, a warning tells; the result is whether they do.
ROITOOLS_API bool tellPlaces(const Placed& grid, const Placed& other);

/// Lets a table itself tell that it compares different places: a column "places", "differ" in every row.
ROITOOLS_API void markPlaces(HxTable& table);

}  // namespace roitools
