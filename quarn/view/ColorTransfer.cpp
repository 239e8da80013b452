#include "quarn/view/ColorTransfer.h"

#include <algorithm>
#include <cmath>
#include <tuple>
#include <utility>

namespace quarn::view {

ColorTransfer::ColorTransfer(const HxColormap& colormap, std::optional<std::pair<double, double>> range, bool usesAlpha)
    : minimum_(double{colormap.minCoord()}), maximum_(double{colormap.maxCoord()}) {
  if (range && std::isfinite(range->first) && std::isfinite(range->second)) std::tie(minimum_, maximum_) = *range;
  colors_.reserve(static_cast<std::size_t>(colormap.size()));
  for (int i = 0; i < colormap.size(); ++i) {
    const HxColormap::Entry& entry = colormap[i];
    colors_.push_back({entry.color.r, entry.color.g, entry.color.b, usesAlpha ? entry.alpha : 1.0f});
  }
}

ColorTransfer::ColorTransfer(std::vector<Color> colors)
    : colors_(std::move(colors)), minimum_(0), maximum_(static_cast<double>(colors_.size()) - 1), isDiscrete_(true) {}

ColorTransfer::Color ColorTransfer::operator()(double value) const {
  const auto last = static_cast<double>(colors_.size() - 1);
  const double width = maximum_ - minimum_;
  double place = width == 0 ? (value < minimum_ ? 0 : last) : (value - minimum_) / width * last;
  // NaN gets the first colour.
  place = place > 0 ? std::min(place, last) : 0;
  return colors_[static_cast<std::size_t>(std::lround(place))];
}

bool ColorTransfer::isTransparent() const {
  return std::any_of(colors_.begin(), colors_.end(), [](const Color& color) { return color.alpha < 1; });
}

}  // namespace quarn::view
