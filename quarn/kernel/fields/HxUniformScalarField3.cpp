#include "quarn/kernel/fields/HxUniformScalarField3.h"

#include <algorithm>
#include <limits>
#include <new>
#include <stdexcept>
#include <tbb/blocked_range.h>
#include <tbb/parallel_reduce.h>

#include "quarn/base/McException.h"

MC_CLASS_IMPL(HxUniformScalarField3, HxRegScalarField3)

namespace {

/// The interval of the values seen; min above max when there were none.
template <class T>
struct Range {
  using Limits = std::numeric_limits<T>;

  T min = Limits::has_infinity ? Limits::infinity() : Limits::max();
  T max = Limits::has_infinity ? -Limits::infinity() : Limits::lowest();

  /// Comparisons with NaN are false, which skips it.
  void add(T value) {
    if (value < min) min = value;
    if (value > max) max = value;
  }
  static Range joined(const Range& a, const Range& b) { return {std::min(a.min, b.min), std::max(a.max, b.max)}; }
};

template <class T>
Range<T> rangeOf(const T* values, std::size_t count, bool excludeBackground) {
  using Interval = tbb::blocked_range<std::size_t>;
  const auto scan = [=](const Interval& interval, Range<T> range) {
    for (std::size_t i = interval.begin(); i < interval.end(); ++i) {
      if (!excludeBackground || values[i] != T{0}) range.add(values[i]);
    }
    return range;
  };
  return tbb::parallel_reduce(Interval(0, count, 1 << 16), Range<T>(), scan, Range<T>::joined);
}

std::string sizeText(const McDim3l& d) {
  return std::to_string(d.nx) + " x " + std::to_string(d.ny) + " x " + std::to_string(d.nz);
}

template <class Values, std::size_t... index>
Values makeAlternative(std::size_t wanted, std::size_t count, std::index_sequence<index...>) {
  Values values;
  (void)((index == wanted && (values.template emplace<index>(count), true)) || ...);
  return values;
}

McBox3f unitVoxelBox(const McDim3l& d) {
  if (d.nx == 0 || d.ny == 0 || d.nz == 0) return {};
  const auto last = [](std::int64_t n) { return static_cast<float>(std::max<std::int64_t>(n - 1, 1)); };
  return {0, last(d.nx), 0, last(d.ny), 0, last(d.nz)};
}

}  // namespace

HxUniformScalarField3::HxUniformScalarField3(const McDim3l& dimensions, McPrimType type)
    : dimensions_(dimensions), values_(makeValues(dimensions, type)) {
  setBoundingBox(unitVoxelBox(dimensions));
}

HxUniformScalarField3::~HxUniformScalarField3() = default;

HxUniformScalarField3::Values HxUniformScalarField3::makeValues(const McDim3l& dimensions, McPrimType type) {
  const auto count = static_cast<std::size_t>(dimensions.voxelCount());
  constexpr auto kAlternatives = std::make_index_sequence<std::variant_size_v<Values>>();
  try {
    return makeAlternative<Values>(static_cast<std::size_t>(type), count, kAlternatives);
  } catch (const std::bad_alloc&) {
  } catch (const std::length_error&) {
  }
  throw McException("A field of " + sizeText(dimensions) + " voxels of type " + primTypeName(type) +
                    " does not fit into memory.");
}

void HxUniformScalarField3::resize(const McDim3l& dimensions, McPrimType type) {
  values_ = makeValues(dimensions, type);
  dimensions_ = dimensions;
  setBoundingBox(unitVoxelBox(dimensions));
}

void HxUniformScalarField3::swapVoxels(HxUniformScalarField3& other) {
  std::swap(dimensions_, other.dimensions_);
  std::swap(values_, other.values_);
}

const char* HxUniformScalarField3::primTypeName(McPrimType type) {
  static constexpr const char* kNames[] = {"uint8", "int8", "uint16", "int16", "uint32", "int32", "float", "double"};
  return kNames[static_cast<std::size_t>(type)];
}

std::size_t HxUniformScalarField3::primTypeSize(McPrimType type) {
  static constexpr std::size_t kSizes[] = {1, 1, 2, 2, 4, 4, 4, 8};
  return kSizes[static_cast<std::size_t>(type)];
}

void* HxUniformScalarField3::data() {
  return visitValues([](auto* values) -> void* { return values; });
}

const void* HxUniformScalarField3::data() const {
  return visitValues([](const auto* values) -> const void* { return values; });
}

double HxUniformScalarField3::value(std::int64_t x, std::int64_t y, std::int64_t z) const {
  return visitValues([i = indexOf(x, y, z)](const auto* values) { return static_cast<double>(values[i]); });
}

void HxUniformScalarField3::setValue(std::int64_t x, std::int64_t y, std::int64_t z, double value) {
  visitValues([i = indexOf(x, y, z), value](auto* values) {
    values[i] = static_cast<std::remove_reference_t<decltype(*values)>>(value);
  });
}

void HxUniformScalarField3::valueRange(double& min, double& max, bool excludeBackground) const {
  const auto count = static_cast<std::size_t>(voxelCount());
  visitValues([&](const auto* values) {
    const auto range = rangeOf(values, count, excludeBackground);
    min = static_cast<double>(range.min);
    max = static_cast<double>(range.max);
  });
}

void HxUniformScalarField3::valueRange(float& min, float& max, bool excludeBackground) const {
  double exactMin;
  double exactMax;
  valueRange(exactMin, exactMax, excludeBackground);
  min = static_cast<float>(exactMin);
  max = static_cast<float>(exactMax);
}

void HxUniformScalarField3::notifyChanged() {
  touch(8);
}
