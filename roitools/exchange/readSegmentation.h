#pragma once

#include <QString>

#include "quarn/base/McHandle.h"
#include "quarn/base/McVec3i.h"
#include "quarn/kernel/fields/HxGeometry3.h"
#include "quarn/kernel/io/HxLoadOptions.h"
#include "roitools/export.h"

class HxRois;

namespace roitools {

/// A set that was read from a file, and where its grid lies.
struct ReadSet {
  McHandle<HxRois> rois;  ///< not in the pool
  McVec3i grid;
  HxGeometry3 geometry;
  QString leftOut;  ///< what the set has no room for, in words; empty: nothing
};

/// Reads a segmentation file (docs/format/exchange.md): one mask for each segment, with its name, colour and group. Of
/// `options` the values count, which choose segments by their labels. The memory that it takes follows the segments,
/// not the size of the grid. Shows its progress; for the user-interface thread.
///
/// What cannot be kept as it is in the file is told on the console. Throws McException naming `file` for whatever is no
/// such file, when anything fails, and when the user interrupts; nothing is left then.
ROITOOLS_API ReadSet readSegmentation(const QString& file, const HxLoadOptions& options);

}  // namespace roitools
