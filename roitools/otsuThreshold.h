#pragma once

#include <optional>

#include "quarn/voxora/tiles/WorkCallback.h"
#include "roitools/export.h"

class HxUniformScalarField3;

namespace roitools {

class FieldRegion;

/// The smallest value of the upper class when the values of a region are divided in two such that the variance between
/// the classes is largest (Otsu 1979); of equal divisions the one with the smaller lower class.
///
/// Values of 8 and 16 bits are counted each by itself, so that the result is exact. Others are counted in 65536 bins of
/// equal width from the smallest to the largest; values of one bin are not divided. What is not finite is left out.
/// The result does not depend on the number of threads.
///
/// `callback` is called from the thread of the caller; nothing is returned when it gave up. Throws McException when
/// there are not two different values.
ROITOOLS_API std::optional<double> otsuThreshold(const HxUniformScalarField3& field, const FieldRegion& region,
                                                 const hxvoxora::WorkCallback& callback);

}  // namespace roitools
