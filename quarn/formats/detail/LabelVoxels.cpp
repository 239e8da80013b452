#include "quarn/formats/detail/LabelVoxels.h"

#include <QLocale>
#include <cmath>
#include <concepts>
#include <utility>

#include "quarn/formats/LabelNames.h"
#include "quarn/formats/detail/fault.h"

namespace quarn::formats::detail {

namespace {

template <typename T>
bool isLabelValue(T value) {
  if constexpr (std::floating_point<T>) {
    const double number = value;
    return number >= 0.0 && number <= static_cast<double>(LabelNames::largestValue) && number == std::floor(number);
  } else {
    return std::cmp_greater_equal(value, 0) && std::cmp_less_equal(value, LabelNames::largestValue);
  }
}

template <typename T>
QString written(T value) {
  if constexpr (std::floating_point<T>) return QString::number(double{value}, 'g', QLocale::FloatingPointShortest);
  return QString::number(value);
}

QString voxelAt(std::int64_t index, const std::array<std::int64_t, 3>& dimensions) {
  const std::int64_t row = index / dimensions[0];
  return QStringLiteral("voxel (%1, %2, %3)")
      .arg(index % dimensions[0])
      .arg(row % dimensions[1])
      .arg(row / dimensions[1]);
}

}  // namespace

LabelVoxels::LabelVoxels(VoxelKind kind, const std::array<std::int64_t, 3>& dimensions)
    : kind_(kind),
      dimensions_(dimensions),
      count_(dimensions[0] * dimensions[1] * dimensions[2]),
      bytes_(static_cast<std::size_t>(count_) * bytesOf(kind)) {}

LabelSet LabelVoxels::collectLabels(const QString& file) const {
  LabelSet labels;
  visitKind(kind_, [&](auto type) {
    const auto* const values = voxels<typename decltype(type)::type>();
    for (std::int64_t i = 0; i < count_; ++i) {
      if (i > 0 && values[i] == values[i - 1]) continue;  // labels come in runs
      if (!isLabelValue(values[i])) {
        refuse(file, QStringLiteral("%1 is %2; labels are whole numbers from 0 to %3")
                         .arg(voxelAt(i, dimensions_), written(values[i]), QString::number(LabelNames::largestValue)));
      }
      labels.insert(static_cast<std::uint32_t>(values[i]));
    }
  });
  return labels;
}

void LabelVoxels::renumber(const LabelNumbering& numbering, std::uint8_t* numbers) const {
  visitKind(kind_, [&](auto type) {
    const auto* const values = voxels<typename decltype(type)::type>();
    for (std::int64_t i = 0; i < count_; ++i) {
      const bool isRun = i > 0 && values[i] == values[i - 1];
      numbers[i] = isRun ? numbers[i - 1] : numbering.numberOf(static_cast<std::uint32_t>(values[i]));
    }
  });
}

}  // namespace quarn::formats::detail
