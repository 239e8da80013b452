#include "roitools/rangeToLabels.h"

#include <atomic>

#include "quarn/kernel/fields/HxUniformScalarField3.h"
#include "roitools/FieldRegion.h"
#include "roitools/parallelParts.h"

namespace roitools {

std::optional<RangeLabels> rangeToLabels(const HxUniformScalarField3& field, const FieldRegion& region, double low,
                                         double high, const hxvoxora::WorkCallback& callback) {
  RangeLabels result;
  result.labels.resize(static_cast<std::size_t>(field.voxelCount()));
  std::atomic<std::uint64_t> inside{0};
  const bool isDone = field.visitValues([&](const auto* values) {
    return forEachPart(region.parts(), callback, [&](std::int64_t part) {
      std::uint64_t here = 0;
      region.forEachStretch(part, [&](std::int64_t first, std::int64_t count) {
        std::uint8_t* const labels = result.labels.data();
        for (std::int64_t i = first; i < first + count; ++i) {
          const auto value = static_cast<double>(values[i]);
          labels[i] = value >= low && value <= high;
          here += labels[i];
        }
      });
      inside += here;
    });
  });
  if (!isDone) return std::nullopt;
  result.inside = inside;
  return result;
}

}  // namespace roitools
