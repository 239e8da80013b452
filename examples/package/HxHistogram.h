#pragma once

#include "quarn/base/McTypedClass.h"
#include "quarn/kernel/objects/HxCompModule.h"
#include "quarn/kernel/ports/HxPortDoIt.h"
#include "quarn/kernel/ports/HxPortInteger.h"

/// Module that counts the voxels of a field at "data" in ranges of values of equal width.
///
/// The result is a table: from (inclusive), to (exclusive, but for the last range) and voxels. What is not a number is
/// in no range.
class HxHistogram : public HxCompModule {
public:
  MC_CLASS_DECL(HxHistogram)

  HxHistogram();

  /// Counts when "doIt" was hit. Throws McException when no field is connected or none of its values is finite.
  void compute() override;

  HxPortInteger portRanges;
  HxPortDoIt portDoIt;

protected:
  ~HxHistogram() override;
};
