#pragma once

#include "quarn/base/McTypedClass.h"
#include "quarn/kernel/objects/HxCompModule.h"
#include "quarn/kernel/ports/HxConnection.h"
#include "quarn/kernel/ports/HxPortDoIt.h"
#include "roitools/export.h"

/// Module that finds the ROIs of a set at "data" which share voxels, or, with a second set at "other", what ROIs of the
/// first share with ROIs of the second.
///
/// The result, an HxTable in slot 0, has one row per pair that shares at least one voxel, and no row for others: an
/// empty mask is in no pair. A group counts as the union of its members; within one set, a pair of a group and its own
/// member is left out. Pairs stand in the order of the set, a group before its members: by the first ROI of a pair,
/// then by the second. Columns:
///
///     a, a_group, b, b_group    the two ROIs; the groups that they are members of, or empty
///     a_voxels, b_voxels        numbers of their voxels
///     shared                    number of voxels in both
///     dice                      2 * shared / (a_voxels + b_voxels)
///     jaccard                   shared / number of voxels in any of the two
///     part_of_a, part_of_b      shared / a_voxels, shared / b_voxels
///     a_id, b_id                identifiers; not on the console
///
/// When the sets lie in different places of the world, a warning tells, and a column "places" holds "differ".
class ROITOOLS_API HxRoiOverlap : public HxCompModule {
public:
  MC_CLASS_DECL(HxRoiOverlap)

  HxRoiOverlap();

  /// Counts when "doIt" was hit; prints the table on the console. Throws McException, with the former result as it was,
  /// when no set is connected, when the sets have different grids, when a tile cannot be read, and when the user
  /// interrupts.
  void compute() override;

  /// Adds: save ?CSV? FILE, which saves the result.
  int parse(Tcl_Interp* interp, int argc, char** argv) override;

  HxConnection portOther;
  HxPortDoIt portDoIt;

protected:
  ~HxRoiOverlap() override;
};
