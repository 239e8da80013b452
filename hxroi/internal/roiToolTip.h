#pragma once

#include <QString>

#include "hxroi/export.h"

class QxRoiTreeItem;

namespace hxroi {

/// What can be told at once of the ROI of a node: its name, for a mask the number of set voxels and their volume, for a
/// group its masks. Masks whose voxels would take long to count are told without a number. Empty for the root.
HXROI_API QString roiToolTip(const QxRoiTreeItem& item);

}  // namespace hxroi
