#pragma once

#include <QString>

#include "quarn/base/McTypedClass.h"
#include "quarn/kernel/objects/HxCompModule.h"
#include "quarn/kernel/ports/HxConnection.h"
#include "quarn/kernel/ports/HxPortDoIt.h"
#include "roitools/export.h"

/// Module that measures every ROI of a set at "data", and with an image at "image" its values inside each ROI.
///
/// The result, an HxTable in slot 0, has one row per ROI in the order of the set; a group is followed by its members.
/// A group is measured as the union of its members, so that voxels they share count once. Columns:
///
///     name, group         the ROI; the group that it is a member of, or empty
///     voxels, volume_mm3  number of set voxels; that number times the volume of one voxel
///     xmin ... zmax       inclusive voxel bounds; empty for a ROI without voxels
///     centroid_x, _y, _z  mean position of the voxel centres, in world units
///     mean, sd, min, max  of the image: sample standard deviation, values that are not a number left out
///     id, color           identifier, and the colour shown (three reals); not on the console
///
/// Volumes and world positions come from the place of the set, that of the field connected to it or the one that it
/// remembers, else from the image; without any, these cells stay empty, and the console says so. When the image lies in
/// another place than the set, a warning tells, and a column "places" holds "differ".
class ROITOOLS_API HxRoiStatistics : public HxCompModule {
public:
  MC_CLASS_DECL(HxRoiStatistics)

  HxRoiStatistics();

  /// Measures when "doIt" was hit; prints the table on the console. Throws McException, with the former result as it
  /// was, when no set is connected, when the image does not have the grid of the set, and when the user interrupts.
  void compute() override;

  /// Adds: save ?CSV? FILE, which saves the result.
  int parse(Tcl_Interp* interp, int argc, char** argv) override;

  HxConnection portImage;
  HxPortDoIt portDoIt;

protected:
  ~HxRoiStatistics() override;
};
