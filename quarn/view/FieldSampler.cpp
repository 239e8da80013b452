#include "quarn/view/FieldSampler.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <vector>

#include "quarn/kernel/fields/HxUniformLabelField3.h"
#include "quarn/view/Bounds.h"

namespace quarn::view {

namespace {

constexpr std::int64_t MOST_LOOKED_AT = 1 << 20;
constexpr double LEFT_OUT_BELOW = 0.01;
constexpr double LEFT_OUT_ABOVE = 0.002;
constexpr double SURROUNDINGS = 0.1;  ///< of a range: below it are air and noise

}  // namespace

FieldSampler::FieldSampler(const HxUniformScalarField3& field)
    : field_(field),
      dimensions_(field.latticeDimensions()),
      map_(field.geometry()),
      takesNearest_(dynamic_cast<const HxUniformLabelField3*>(&field) != nullptr) {}

template <class Value>
float FieldSampler::between(const Value* values, const Point3& index) const {
  std::array<std::int64_t, 3> low, high;
  Point3 part;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    const auto last = static_cast<double>(dimensions_[static_cast<int>(axis)] - 1);
    if (!(index[axis] >= -0.5 && index[axis] < last + 0.5)) return std::numeric_limits<float>::quiet_NaN();
    const double inside = std::clamp(takesNearest_ ? std::round(index[axis]) : index[axis], 0.0, last);
    low[axis] = static_cast<std::int64_t>(inside);
    high[axis] = std::min(low[axis] + 1, static_cast<std::int64_t>(last));
    part[axis] = inside - static_cast<double>(low[axis]);
  }
  double sum = 0;
  for (unsigned corner = 0; corner < 8; ++corner) {
    const auto place = [&](std::size_t axis) { return corner >> axis & 1 ? high[axis] : low[axis]; };
    const auto share = [&](std::size_t axis) { return corner >> axis & 1 ? part[axis] : 1 - part[axis]; };
    const double weight = share(0) * share(1) * share(2);
    if (weight > 0)
      sum += weight * static_cast<double>(values[(place(2) * dimensions_.ny + place(1)) * dimensions_.nx + place(0)]);
  }
  return static_cast<float>(sum);
}

float FieldSampler::at(const Point3& world) const {
  return field_.visitValues([&](const auto* values) { return between(values, map_.toIndex(world)); });
}

void FieldSampler::sampleLine(const Point3& first, const Point3& step, int count, float* values) const {
  const Point3 start = map_.toIndex(first), stride = map_.stepToIndex(step);
  field_.visitValues([&](const auto* voxels) {
    for (int i = 0; i < count; ++i)
      values[i] = between(voxels, {start[0] + i * stride[0], start[1] + i * stride[1], start[2] + i * stride[2]});
  });
}

std::pair<double, double> usualRange(const HxUniformScalarField3& field) {
  const std::int64_t count = field.voxelCount();
  const std::int64_t every = std::max<std::int64_t>(1, count / MOST_LOOKED_AT);
  std::vector<double> seen;
  field.visitValues([&](const auto* values) {
    for (std::int64_t i = 0; i < count; i += every) {
      const auto value = static_cast<double>(values[i]);
      // The empty surroundings would outweigh everything else.
      if (std::isfinite(value) && value != 0) seen.push_back(value);
    }
  });
  if (seen.empty()) return {0, 1};
  const auto at = [&](double part) {
    const auto place = seen.begin() + static_cast<std::ptrdiff_t>(part * static_cast<double>(seen.size() - 1));
    std::nth_element(seen.begin(), place, seen.end());
    return *place;
  };
  const double low = std::min(0.0, at(LEFT_OUT_BELOW)), high = at(1 - LEFT_OUT_ABOVE);
  return low < high ? std::pair(low, high) : std::pair(low, low + 1);
}

IndexBox contentBox(const HxUniformScalarField3& field, const std::pair<double, double>& range) {
  const McDim3l n = field.latticeDimensions();
  const bool isLabels = dynamic_cast<const HxUniformLabelField3*>(&field) != nullptr;
  const double least = isLabels ? 0 : range.first + SURROUNDINGS * (range.second - range.first);
  const double tooMany = static_cast<double>(field.voxelCount()) / static_cast<double>(MOST_LOOKED_AT);
  const auto every = static_cast<std::int64_t>(std::ceil(std::cbrt(std::max(1.0, tooMany))));
  Bounds found;
  field.visitValues([&](const auto* values) {
    for (std::int64_t z = 0; z < n.nz; z += every)
      for (std::int64_t y = 0; y < n.ny; y += every)
        for (std::int64_t x = 0; x < n.nx; x += every)
          if (static_cast<double>(values[(z * n.ny + y) * n.nx + x]) > least)
            found.add({static_cast<double>(x), static_cast<double>(y), static_cast<double>(z)});
  });
  IndexBox box{{-0.5, -0.5, -0.5}, {}};
  for (std::size_t axis = 0; axis < 3; ++axis) {
    const double end = static_cast<double>(n[static_cast<int>(axis)]) - 0.5, step = static_cast<double>(every) - 0.5;
    box.high[axis] = found.isEmpty() ? end : std::min(end, found.max[axis] + step);
    if (!found.isEmpty()) box.low[axis] = std::max(-0.5, found.min[axis] - step);
  }
  return box;
}

}  // namespace quarn::view
