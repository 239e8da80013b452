#pragma once

#include "quarn/base/McTypedClass.h"
#include "quarn/kernel/objects/HxCompModule.h"
#include "quarn/kernel/ports/HxPortDoIt.h"
#include "quarn/kernel/ports/HxPortRadioBox.h"
#include "roitools/export.h"

/// Module that turns the set at "data" into a label field: label v for the voxels of mask v, counted from 1 in the
/// order of the set, with the name and colour of the mask as material v. The field is result 0 and lies where the set
/// does; it is saved as any other, and becomes a set again by the module that makes sets of label fields.
///
/// A label field has one label for each voxel. Masks that share voxels are refused, with up to 100 pairs and the
/// numbers of their shared voxels, unless "overlaps" is "flattened": such voxels then get the label of the last mask
/// that has them, in the order of the set, and the console tells which pairs lose what. It also tells of groups and
/// masks without voxels, which do not come back.
class ROITOOLS_API HxRoisToLabels : public HxCompModule {
public:
  MC_CLASS_DECL(HxRoisToLabels)

  /// Buttons of "overlaps".
  enum OverlapsButton : int { Refused = 0, Flattened = 1 };

  HxRoisToLabels();

  /// Works when "doIt" was hit. Throws McException, with the former result as it was, when no set is connected, for a
  /// set without masks or with overlaps that are not wanted, when a tile cannot be read, without memory for the field,
  /// and when the user interrupts.
  void compute() override;

  HxPortRadioBox portOverlaps;  ///< what becomes of masks that share voxels
  HxPortDoIt portDoIt;

protected:
  ~HxRoisToLabels() override;
};
