#include "quarn/formats/detail/LabelNumbering.h"

#include <algorithm>

#include "quarn/formats/detail/fault.h"

namespace quarn::formats::detail {

LabelNumbering::LabelNumbering(const LabelSet& found, const HxLoadOptions& options, const QString& file)
    : values_(found.values()) {
  std::erase_if(values_,
                [&options](std::uint32_t value) { return value == 0 || !options.admits(static_cast<int>(value)); });
  isRenumbered_ = !values_.empty() && values_.back() > largestNumber;
  if (isRenumbered_ && values_.size() > largestNumber) {
    refuse(file, QStringLiteral("has %1 labels, the largest is %2; a label field holds at most %3 labels: choose some "
                                "by their values")
                     .arg(values_.size())
                     .arg(values_.back())
                     .arg(largestNumber));
  }
}

std::uint8_t LabelNumbering::numberOf(std::uint32_t value) const {
  const auto found = std::lower_bound(values_.begin(), values_.end(), value);
  if (found == values_.end() || *found != value) return 0;
  return static_cast<std::uint8_t>(isRenumbered_ ? found - values_.begin() + 1 : value);
}

}  // namespace quarn::formats::detail
