#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

#include "quarn/base/McColor.h"
#include "quarn/kernel/fields/HxColormap.h"
#include "quarn/view/export.h"

namespace quarn::view {

/// From a number to a colour, through a colormap whose ends lie at two values. It copies what it needs.
class QUARN_VIEW_API ColorTransfer {
public:
  struct Color {
    float r = 0, g = 0, b = 0;
    float alpha = 1;
    friend bool operator==(const Color&, const Color&) = default;
  };

  /// With `usesAlpha` the colours are as transparent as the colormap has them, else all are opaque. A range whose ends
  /// are equal is a step; one that is no number, or none, is that of the colormap.
  ColorTransfer(const HxColormap& colormap, std::optional<std::pair<double, double>> range, bool usesAlpha);
  /// One colour, as transparent as it is, for each whole number from 0 on; at least one.
  explicit ColorTransfer(std::vector<Color> colors);

  Color operator()(double value) const;
  double minimum() const { return minimum_; }
  double maximum() const { return maximum_; }
  /// Whether the colours stand for whole numbers and not for a range.
  bool isDiscrete() const { return isDiscrete_; }
  /// Whether any colour is transparent.
  bool isTransparent() const;
  friend bool operator==(const ColorTransfer&, const ColorTransfer&) = default;

private:
  std::vector<Color> colors_;
  double minimum_;
  double maximum_;
  bool isDiscrete_ = false;
};

}  // namespace quarn::view
