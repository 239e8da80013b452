#include "roitools/otsuThreshold.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <tbb/enumerable_thread_specific.h>
#include <type_traits>
#include <vector>

#include "quarn/base/McException.h"
#include "quarn/kernel/fields/HxUniformScalarField3.h"
#include "roitools/FieldRegion.h"
#include "roitools/parallelParts.h"

namespace roitools {

namespace {

constexpr std::size_t kBins = 65536;

/// Smallest and largest finite value.
struct Range {
  double low = std::numeric_limits<double>::infinity();
  double high = -std::numeric_limits<double>::infinity();
};

/// Gives each value a bin; larger values have the same or a later one.
class Binning {
public:
  /// `isExact`: one bin for each whole number.
  Binning(const Range& range, bool isExact)
      : isHalved_(!std::isfinite(range.high - range.low)),
        low_(scaled(range.low)),
        width_(isExact ? 1 : scaled(range.high) - low_),
        bins_(isExact ? 1 : kBins) {}

  std::size_t operator()(double value) const {
    // Divided first, as the width may be too small a number to divide by it.
    const double place = (scaled(value) - low_) / width_ * bins_;
    return std::min(static_cast<std::size_t>(place), kBins - 1);
  }

private:
  double scaled(double value) const { return isHalved_ ? value / 2 : value; }

  bool isHalved_;  ///< the width is too large a number
  double low_, width_, bins_;
};

/// The last bin of the lower class.
std::size_t split(const std::vector<std::uint64_t>& histogram) {
  double all = 0, allSum = 0;
  for (std::size_t bin = 0; bin < histogram.size(); ++bin) {
    all += static_cast<double>(histogram[bin]);
    allSum += static_cast<double>(histogram[bin]) * static_cast<double>(bin);
  }
  std::size_t best = 0;
  double bestVariance = -1, lower = 0, lowerSum = 0;
  for (std::size_t bin = 0; bin + 1 < histogram.size(); ++bin) {
    if (histogram[bin] == 0) continue;
    lower += static_cast<double>(histogram[bin]);
    lowerSum += static_cast<double>(histogram[bin]) * static_cast<double>(bin);
    const double upper = all - lower;
    if (upper == 0) break;
    const double distance = lowerSum / lower - (allSum - lowerSum) / upper;
    const double variance = lower / all * (upper / all) * distance * distance;
    if (variance > bestVariance) {
      bestVariance = variance;
      best = bin;
    }
  }
  return best;
}

/// Three walks over the values of one type.
template <class T>
class Search {
public:
  Search(const T* values, const FieldRegion& region, const hxvoxora::WorkCallback& callback)
      : values_(values), region_(region), callback_(callback) {}

  std::optional<double> run() {
    const std::optional<Range> range = findRange();
    if (!range) return std::nullopt;
    if (!(range->low < range->high))
      throw McException("A threshold needs two different values at least, and there are none.");
    const bool isExact = std::is_integral_v<T> && range->high - range->low < kBins;
    const Binning binning(*range, isExact);
    const auto histogram = count(binning);
    return histogram ? findUpper(binning, split(*histogram)) : std::nullopt;
  }

private:
  /// Calls visit(local, value) for every finite value, `local` being something of the thread; false when given up.
  template <class Local, class Visitor>
  bool walk(tbb::enumerable_thread_specific<Local>& locals, const Visitor& visit) {
    const double former = walks_++;
    const auto goOn = [&](double fraction) { return !callback_ || callback_((former + fraction) / 3); };
    return forEachPart(region_.parts(), goOn, [&](std::int64_t part) {
      Local& local = locals.local();
      region_.forEachStretch(part, [&](std::int64_t first, std::int64_t n) {
        for (const T* value = values_ + first; value != values_ + first + n; ++value) {
          if constexpr (std::is_floating_point_v<T>)
            if (!std::isfinite(*value)) continue;
          visit(local, static_cast<double>(*value));
        }
      });
    });
  }

  std::optional<Range> findRange() {
    tbb::enumerable_thread_specific<Range> ranges;
    const bool isDone = walk(ranges, [](Range& range, double value) {
      range.low = std::min(range.low, value);
      range.high = std::max(range.high, value);
    });
    if (!isDone) return std::nullopt;
    Range all;
    for (const Range& range : ranges) all = {std::min(all.low, range.low), std::max(all.high, range.high)};
    return all;
  }

  std::optional<std::vector<std::uint64_t>> count(const Binning& binning) {
    tbb::enumerable_thread_specific<std::vector<std::uint64_t>> histograms(std::vector<std::uint64_t>(kBins, 0));
    const auto add = [&binning](std::vector<std::uint64_t>& bins, double value) { ++bins[binning(value)]; };
    if (!walk(histograms, add)) return std::nullopt;
    std::vector<std::uint64_t> sum(kBins, 0);
    for (const auto& bins : histograms)
      std::transform(sum.begin(), sum.end(), bins.begin(), sum.begin(), std::plus<>());
    return sum;
  }

  /// The smallest value behind a bin.
  std::optional<double> findUpper(const Binning& binning, std::size_t lastLower) {
    tbb::enumerable_thread_specific<Range> uppers;
    const bool isDone = walk(uppers, [&binning, lastLower](Range& upper, double value) {
      if (value < upper.low && binning(value) > lastLower) upper.low = value;
    });
    if (!isDone) return std::nullopt;
    double smallest = std::numeric_limits<double>::infinity();
    for (const Range& upper : uppers) smallest = std::min(smallest, upper.low);
    return smallest;
  }

  const T* values_;
  const FieldRegion& region_;
  const hxvoxora::WorkCallback& callback_;
  int walks_ = 0;
};

}  // namespace

std::optional<double> otsuThreshold(const HxUniformScalarField3& field, const FieldRegion& region,
                                    const hxvoxora::WorkCallback& callback) {
  return field.visitValues(
      [&](const auto* values) { return Search<std::decay_t<decltype(*values)>>(values, region, callback).run(); });
}

}  // namespace roitools
