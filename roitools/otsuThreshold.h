#pragma once

#include <optional>

#include "quarn/voxora/tiles/WorkCallback.h"
#include "roitools/export.h"

class HxUniformScalarField3;

namespace roitools {

class FieldRegion;

/// The smallest value of the upper class when the values of a region are divided in two such that the variance between
/// the classes is largest (Otsu 1979); of divisions that are equal but for rounding, always the same one.
///
/// Whole numbers are counted each by itself when the largest is less than 65536 above the smallest, as all of 8 and 16
/// bits are: the result is exact then. Other values are counted in 65536 bins of equal width from the smallest to the
/// largest, and stand for their bin; values of one bin are not divided. What is not finite is left out.
/// The result does not depend on the number of threads.
///
/// `callback` is called from the thread of the caller; nothing is returned when it gave up. Throws McException when
/// there are not two different values.
ROITOOLS_API std::optional<double> otsuThreshold(const HxUniformScalarField3& field, const FieldRegion& region,
                                                 const hxvoxora::WorkCallback& callback);

}  // namespace roitools
