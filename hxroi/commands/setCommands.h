#pragma once

#include "hxroi/commands/SetCommand.h"
#include "quarn/kernel/script/HxCommands.h"

namespace hxroi::commands {

/// One row of the table of commands of a ROI set: what help, completion and the reference page say, and what runs.
/// Every command checks its words itself, with its own texts.
struct SetCommandRow {
  HxCommandText text;
  int (*run)(const SetCommand&);
};

/// In the order in which they are asked, and in which help lists them.
inline constexpr SetCommandRow kSetCommands[] = {
    {{"getDimensions", "", 0, -1, "Returns the numbers of voxels along x, y and z; fails for a set without masks."},
     &getDimensions},
    {{"getMaskBoundingBox", "MASK", 1, 1,
      "Returns xmin xmax ymin ymax zmin zmax of the set voxels in the units of the field at the port data; both "
      "corners "
      "lie half a voxel low."},
     &getMaskBoundingBox},
    {{"allMasks", "", 0, -1, "Returns the names of all masks, members of groups too, in the order in which they came."},
     &allMasks},
    {{"firstLevelRois", "", 0, -1, "Returns the names of the masks and groups of the first level, in their order."},
     &firstLevelRois},
    {{"invertMasks", "MASK...", 1, -1,
      "Turns the voxels of masks over, in place: all of them, or none when a name is wrong. A mask that is named twice "
      "is turned twice."},
     &invertMasks},
    {{"substractMasks", "MASK MASK...", 2, -1,
      "Adds a mask, FIRST-substracted: the voxels of the first mask that none of the others has."},
     &substractMasks},
    {{"mergeMasks", "MASK MASK...", 2, -1, "Adds a mask, FIRST-merged: the voxels that any of the masks has."},
     &mergeMasks},
    {{"splitMask", "MASK", 1, 1, "Adds the connected pieces of a mask as masks; the mask stays."}, &splitMask},
    {{"removeRois", "ROI...", 1, -1,
      "Removes masks and groups of the first level, groups with their members. When one of them is missing, those that "
      "were removed come back at the end of the list."},
     &removeRois},
    {{"copyAndInsertMasksFrom", "SET ?ROI?", 0, 2,
      "Adds copies of all masks of another set, or of one ROI. Masks whose names are taken stay behind, and their "
      "number "
      "is printed."},
     &copyAndInsertMasksFrom},
    {{"createAndInsertRoiFrom", "FIELD", 1, 1, "Adds a mask: the voxels with label 1 of a binary label field."},
     &createAndInsertRoiFrom},
    {{"getId", "ROI", 1, -1, "Returns the identifier of a mask or a group, a UUID."}, &getId},
    {{"clearGroups", "GROUP...", 1, -1, "Forgets what was worked out for groups; their members stay."}, &clearGroups},
    {{"optimize", "?--exact-boundingbox? ?--multiresolution?", 0, -1,
      "Works out the bounding boxes that are not known; --exact-boundingbox also those known roughly; "
      "--multiresolution "
      "writes all lower resolutions of each mask anew."},
     &optimize},
    {{"createGroup", "GROUP ?MASK...?", 1, -1,
      "Adds a group and moves masks into it: all of them, or nothing happens."},
     &createGroup},
    {{"moveToGroup", "GROUP MASK...", 2, -1,
      "Moves masks into a group, all or none; an empty name, {}, stands for the first level."},
     &moveToGroup},
    {{"renameRoi", "ROI NAME", 2, 2, "Gives a mask or a group another name: letters, digits, _ and -."}, &renameRoi},
    {{"getMaskVoxelCount", "MASK", 1, 1, "Returns the number of voxels that a mask has."}, &getMaskVoxelCount},
    {{"getMaskVoxelBox", "MASK", 1, 1,
      "Returns xmin xmax ymin ymax zmin zmax of the voxels that a mask has, as indices from 0, both ends included; an "
      "empty list for a mask without voxels."},
     &getMaskVoxelBox},
};

/// Words that completion may put for MASK, ROI, GROUP, SET and FIELD.
void offerNames(const HxRois& rois);

}  // namespace hxroi::commands
