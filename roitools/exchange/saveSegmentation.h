#pragma once

#include <QString>

#include "roitools/export.h"

class HxRois;

namespace roitools {

/// What names of segmentation files end in.
inline QString segmentationSuffix() {
  return QStringLiteral(".seg.nrrd");
}

/// Writes the masks of a set with their names, colours, order and groups as a segmentation file
/// (docs/format/exchange.md). Masks that share no voxel share a layer. `file` is the old one, whole, until it is the
/// new one, whole. The memory that it takes does not depend on the size of the grid. Shows its progress; for the
/// user-interface thread.
///
/// Throws McException naming `file`, with everything as it was, for a set without masks, when anything fails, and when
/// the user interrupts. What the file cannot hold is told on the console.
ROITOOLS_API void saveSegmentation(const HxRois& rois, const QString& file);

}  // namespace roitools
