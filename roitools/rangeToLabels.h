#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "quarn/voxora/tiles/WorkCallback.h"
#include "roitools/export.h"

class HxUniformScalarField3;

namespace roitools {

class FieldRegion;

/// Labels of a field, x fastest, and the number of those that are 1.
struct ROITOOLS_API RangeLabels {
  std::vector<std::uint8_t> labels;
  std::uint64_t inside = 0;
};

/// 1 for each voxel of the region with low <= value <= high, 0 for all others and for what is not a number. Parallel.
/// `callback` is called from the thread of the caller; nothing is returned when it gave up.
ROITOOLS_API std::optional<RangeLabels> rangeToLabels(const HxUniformScalarField3& field, const FieldRegion& region,
                                                      double low, double high, const hxvoxora::WorkCallback& callback);

}  // namespace roitools
