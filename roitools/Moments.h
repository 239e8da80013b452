#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>

#include "roitools/export.h"

namespace roitools {

/// Count, mean, squared deviation, minimum and maximum of a stream of values. Parts of a stream may be gathered apart
/// and joined; values that are not a number are left out.
///
/// Each stretch is summed around its own mean before it is joined, so that large offsets cost no precision.
struct ROITOOLS_API Moments {
  std::uint64_t count = 0;
  double mean = 0.0;
  double squares = 0.0;  ///< sum of squared deviations from the mean
  double minimum = std::numeric_limits<double>::infinity();
  double maximum = -std::numeric_limits<double>::infinity();

  /// Takes in values[0] to values[n - 1].
  template <class T>
  void add(const T* values, std::uint64_t n);

  /// Takes in everything that `other` holds.
  void join(const Moments& other);

  /// Sample standard deviation (divided by count - 1); 0 for fewer than two values.
  double standardDeviation() const;
};

template <class T>
void Moments::add(const T* values, std::uint64_t n) {
  Moments part;
  double sum = 0.0;
  for (std::uint64_t i = 0; i < n; ++i) {
    const auto value = static_cast<double>(values[i]);
    if (std::isnan(value)) continue;
    ++part.count;
    sum += value;
    part.minimum = std::min(part.minimum, value);
    part.maximum = std::max(part.maximum, value);
  }
  if (part.count == 0) return;
  part.mean = sum / static_cast<double>(part.count);
  for (std::uint64_t i = 0; i < n; ++i) {
    const double deviation = static_cast<double>(values[i]) - part.mean;
    if (!std::isnan(deviation)) part.squares += deviation * deviation;
  }
  join(part);
}

}  // namespace roitools
