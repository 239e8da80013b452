#pragma once

#include <optional>

#include "quarn/base/McTypedClass.h"
#include "quarn/kernel/objects/HxCompModule.h"
#include "quarn/kernel/ports/HxConnection.h"
#include "quarn/kernel/ports/HxPortDoIt.h"
#include "quarn/kernel/ports/HxPortRadioBox.h"
#include "quarn/kernel/ports/HxPortReal.h"
#include "quarn/kernel/ports/HxPortText.h"
#include "quarn/voxora/tiles/TileSnapshot.h"
#include "roitools/export.h"

class HxUniformScalarField3;

/// Module that divides the voxels of a field at "data" by their values: label 1, material "Inside", for values from
/// "minimum" to "maximum", both inclusive; label 0, "Exterior", for all others. What is not a number is never inside.
///
/// With method "otsu" the lower bound is found from the values (see otsuThreshold.h) and there is no upper one. With a
/// set at "rois" only voxels of its ROI "mask" are looked at, and become 1; a group is the union of its members.
///
/// The result, a label field with the place of the field in slot 0, can be turned into a ROI set as it is. It is filled
/// again by the next run; names and colours that its materials were given stay. The bounds and the number of voxels
/// inside are printed on the console.
class ROITOOLS_API HxRangeToLabels : public HxCompModule {
public:
  MC_CLASS_DECL(HxRangeToLabels)

  /// Buttons of "method".
  enum MethodButton : int { Range = 0, Otsu = 1 };

  HxRangeToLabels();

  /// Works when "doIt" was hit. Throws McException, with the former result as it was, when no field is connected, when
  /// "minimum" is above "maximum", when "mask" names no ROI of the set or that has another grid, when there is nothing
  /// to find a threshold in, when a tile cannot be read, and when the user interrupts.
  void compute() override;

  HxPortRadioBox portMethod;
  HxPortReal portMinimum;  ///< -inf at the start
  HxPortReal portMaximum;  ///< inf at the start
  HxConnection portRois;   ///< may be left unconnected
  HxPortText portMask;     ///< name of a ROI; may be empty when the set holds one ROI
  HxPortDoIt portDoIt;

protected:
  ~HxRangeToLabels() override;

private:
  std::optional<hxvoxora::TileSnapshot> region(const HxUniformScalarField3& field) const;
};
