#pragma once

#include <QString>

#include "quarn/kernel/io/HxLoadOptions.h"
#include "roitools/exchange/readSegmentation.h"
#include "roitools/export.h"

class HxRois;

namespace roitools {

/// Makes a folder with an image for each mask of a set, 1 where the mask has voxels and 0 elsewhere, named after the
/// mask and ending in `suffix`, and the table FOLDER.masks.csv that holds names, colours, groups and order. The images
/// are written as label fields are saved to names of that ending. All is there in the end, or nothing. One image at a
/// time takes one byte for each voxel. For the user-interface thread.
///
/// Throws McException naming the file, with everything as it was, when something that is no empty folder has the name,
/// for a set without masks, when nothing that was loaded can write such images, when anything fails, and when the user
/// interrupts. What the files cannot hold is told on the console.
ROITOOLS_API void saveMaskFolder(const HxRois& rois, const QString& folder, const QString& suffix);

/// Reads such a table and its images: one mask for each, of the voxels that are not 0. Images are read by what the
/// workbench has for them. Throws McException naming the file when one is missing, is a link or no image, or has
/// another grid or place than the first, when anything fails, and when the user interrupts; nothing is left then.
ROITOOLS_API ReadSet readMaskFolder(const QString& table);

/// The grid of such a table alone: that of its first image.
ROITOOLS_API ReadSet readGridOfMaskFolder(const QString& table);

}  // namespace roitools
