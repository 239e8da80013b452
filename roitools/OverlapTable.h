#pragma once

#include "quarn/voxora/tiles/WorkCallback.h"
#include "roitools/export.h"

class HxRois;
class HxTable;

namespace roitools {

/// Replaces the content of `table` by one row per pair of ROIs that share voxels; see HxRoiOverlap for rows and
/// columns. `other` may be null. False, with the table as it was, when `callback`, which is called from the calling
/// thread, gave up. Throws McException when the grids of the sets differ or a tile of a mask cannot be read.
ROITOOLS_API bool fillOverlapTable(HxTable& table, const HxRois& rois, const HxRois* other,
                                   const hxvoxora::WorkCallback& callback);

}  // namespace roitools
