#pragma once

#include <QString>
#include <cstdint>
#include <vector>

#include "quarn/formats/detail/LabelSet.h"
#include "quarn/kernel/io/HxLoadOptions.h"

namespace quarn::formats::detail {

/// Which 8-bit number each label value of a file gets in the field.
///
/// Values up to 255 keep theirs. When a value is larger, all are renumbered from 1 in increasing order.
class LabelNumbering {
public:
  static constexpr std::uint32_t largestNumber = 255;

  /// Numbers the non-zero values of a file that the options admit.
  ///
  /// @throws McException, naming `file` and their count, when a value is above 255 and there are more than 255 of them.
  LabelNumbering(const LabelSet& found, const HxLoadOptions& options, const QString& file);

  /// The number of a value, 0 for values that are not admitted or were not found.
  std::uint8_t numberOf(std::uint32_t value) const;

  /// The values that have a number, without 0, in increasing order.
  const std::vector<std::uint32_t>& values() const { return values_; }

  bool isRenumbered() const { return isRenumbered_; }

private:
  std::vector<std::uint32_t> values_;
  bool isRenumbered_ = false;
};

}  // namespace quarn::formats::detail
