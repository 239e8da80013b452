#pragma once

#include "roitools/export.h"

class HxRegScalarField3;
class HxRois;
class HxTable;
class HxUniformScalarField3;
class McProgressInterface;

namespace roitools {

/// Replaces the content of `table` by one row per ROI of `rois`; see HxRoiStatistics for rows and columns.
///
/// `image` may be null and has the grid of the set otherwise. `place` gives positions and volumes; when it is null they
/// are left empty. After each row `progress` is told the part of the rows that is done. Throws McException when a tile
/// of a mask cannot be read or `progress` is interrupted between two rows; the table is then as before.
ROITOOLS_API void fillRoiTable(HxTable& table, const HxRois& rois, const HxUniformScalarField3* image,
                               const HxRegScalarField3* place, McProgressInterface& progress);

}  // namespace roitools
