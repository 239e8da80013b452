#pragma once

#include "quarn/base/McHandle.h"
#include "quarn/base/McTypedClass.h"
#include "quarn/kernel/objects/HxCompModule.h"
#include "quarn/kernel/ports/HxPortDoIt.h"
#include "quarn/kernel/ports/HxPortInteger.h"
#include "quarn/kernel/ports/HxPortRadioBox.h"
#include "quarn/kernel/ports/HxPortText.h"
#include "roitools/export.h"

class HxRois;

namespace hxroi::details {
class Mask;
}

/// Module that takes the connected components of one mask of the set at "data" apart by their size.
///
/// The result, a set in slot 0, holds the largest components of at least the least size, the largest first (of equal
/// ones that whose first voxel comes first), and, if wanted, one more mask with all other voxels. Masks are named after
/// their source: "<name>-1", "<name>-2", ... and "<name>-rest". The number of all components and how they spread over
/// sizes are printed on the console; they are exact, however many there are. The source stays as it is.
///
/// Memory follows the components that are kept and those at the front of the search, not the size of the mask.
class ROITOOLS_API HxRoiSplit : public HxCompModule {
public:
  MC_CLASS_DECL(HxRoiSplit)

  /// Buttons of "neighbours" and of "rest".
  enum NeighboursButton : int { Faces = 0, All = 1 };
  enum RestButton : int { LeaveOut = 0, OneMask = 1 };

  /// One place of a set is left for the rest.
  static constexpr int kMostComponents = 99;

  HxRoiSplit();

  /// Splits when "doIt" was hit. Throws McException, with the former result as it was, when no set is connected, when
  /// "mask" names no mask of it, when a tile cannot be read or a file cannot be written, and when the user interrupts.
  void compute() override;

  HxPortText portMask;            ///< name of the mask; may be empty when the set holds one mask
  HxPortRadioBox portNeighbours;  ///< voxels hang together through faces (6), or through edges and corners too (26)
  HxPortInteger portMinimumSize;  ///< least number of voxels of a component that is kept
  HxPortInteger portLargest;      ///< most components that are kept
  HxPortRadioBox portRest;        ///< whether all other voxels become one more mask
  HxPortDoIt portDoIt;

protected:
  ~HxRoiSplit() override;

private:
  McHandle<hxroi::details::Mask> sourceMask(const HxRois& source) const;
};
