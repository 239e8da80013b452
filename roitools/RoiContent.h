#pragma once

#include <string>
#include <vector>

#include "quarn/voxora/tiles/TileSnapshot.h"
#include "roitools/export.h"

class HxRois;

namespace hxroi::details {
class Roi;
}

namespace roitools {

/// Top-level ROIs in the order of the set, each group followed by its members. Not owned.
ROITOOLS_API std::vector<const hxroi::details::Roi*> roisInOrder(const HxRois& rois);

/// The voxels of a mask, or those of any member of a group; a volume without voxels for a group without members.
ROITOOLS_API hxvoxora::TileSnapshot contentOf(const hxroi::details::Roi& roi);

/// The name of a ROI as UTF-8, as the cells of tables are.
ROITOOLS_API std::string shownName(const hxroi::details::Roi& roi);

/// The name of the group that a ROI is a member of, as UTF-8; empty for a ROI of the top level.
ROITOOLS_API std::string shownGroup(const hxroi::details::Roi& roi);

}  // namespace roitools
