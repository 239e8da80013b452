#include "quarn/kernel/fields/HxColormap.h"

#include <algorithm>
#include <cmath>

#include "quarn/base/McException.h"

MC_CLASS_IMPL(HxColormap, HxData)

HxColormap::HxColormap() : entries_{{McColor(0, 0, 0), 1}, {McColor(1, 1, 1), 1}} {}

HxColormap::~HxColormap() = default;

void HxColormap::setEntries(std::vector<Entry> entries) {
  if (entries.empty()) throw McException("A colormap needs at least one colour.");
  if (entries == entries_) return;
  entries_ = std::move(entries);
  touch();
}

void HxColormap::setMinMax(float min, float max) {
  if (min == min_ && max == max_) return;
  min_ = min;
  max_ = max;
  touch();
}

const HxColormap::Entry& HxColormap::lookup(float value) const {
  const auto last = static_cast<double>(entries_.size() - 1);
  const double position = max_ > min_ ? (double{value} - min_) / (double{max_} - min_) * last : 0;
  const double nearest = std::round(std::max(0.0, std::min(last, position)));
  return entries_[std::isnan(position) ? 0 : static_cast<std::size_t>(nearest)];
}
