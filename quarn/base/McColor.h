#pragma once

#include <cstddef>

#include "quarn/base/export.h"

/// An opaque colour; red, green and blue in [0, 1]. Black unless told otherwise. Comparison is exact.
struct McColor {
  float r = 0;
  float g = 0;
  float b = 0;

  constexpr McColor() noexcept = default;
  constexpr McColor(float red, float green, float blue) noexcept : r(red), g(green), b(blue) {}

  /// 0, 1, 2 are red, green, blue.
  constexpr float& operator[](int channel) noexcept { return channel == 0 ? r : channel == 1 ? g : b; }
  constexpr const float& operator[](int channel) const noexcept { return channel == 0 ? r : channel == 1 ? g : b; }

  friend constexpr bool operator==(const McColor&, const McColor&) noexcept = default;

  /// The next colour of a fixed sequence of well distinguishable HTML colours; after the last comes the first again.
  /// All callers of the process, in any thread, share one position.
  QUARN_BASE_API static McColor nextHtmlColor() noexcept;

  /// How many colours nextHtmlColor() gives before it repeats; all of them differ.
  QUARN_BASE_API static std::size_t htmlColorCount() noexcept;
};
