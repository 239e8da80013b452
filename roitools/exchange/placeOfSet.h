#pragma once

#include <QString>
#include <cstdint>

#include "quarn/base/McDim3l.h"
#include "roitools/exchange/readSegmentation.h"
#include "roitools/export.h"

class HxUniformScalarField3;

namespace roitools {

/// Where a set lies: the geometry of the field at its "data" or, without one, the one that it remembers. When neither
/// is known the voxels are of 1 mm, the first at the origin, and a line that begins with `target` tells.
ROITOOLS_API HxGeometry3 geometryToWrite(const HxRois& rois, const QString& target);

/// A set lies where the field at its "data" does. This connects a set that was read to a field of the pool that has its
/// grid and place, or else to a new one: a label field, all 0, which is registered as `name`-grid and comes from `file`
/// again with the option "-kind scalar". It takes a byte for each voxel, which masks do not: for grids of more than
/// `mostVoxels`, or without memory, the set stays without, remembers where it lies, and the console tells.
ROITOOLS_API void connectToPlace(const ReadSet& read, const QString& name, const QString& file,
                                 std::int64_t mostVoxels = std::int64_t{1} << 30);

/// A field of one voxel with a geometry, to work out world positions with.
ROITOOLS_API McHandle<HxUniformScalarField3> makePlace(const HxGeometry3& geometry);

/// The field that connectToPlace() makes, not registered. Throws McException naming `file` when there is no memory for
/// it.
ROITOOLS_API McHandle<HxUniformScalarField3> makeGridField(const McVec3i& grid, const HxGeometry3& geometry,
                                                           const QString& file);

}  // namespace roitools
