#include "quarn/kernel/fields/HxColormap.h"

#include <QImage>
#include <algorithm>
#include <cmath>

#include "quarn/base/McException.h"

MC_CLASS_IMPL(HxColormap, HxData)

HxColormap::HxColormap() : entries_{{McColor(0, 0, 0), 1}, {McColor(1, 1, 1), 1}}, life_(std::make_shared<char>()) {}

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

QPixmap HxColormap::getPixmap(int width, int height, int checkSize, bool alpha) const {
  if (width < 1 || height < 1) return QPixmap();
  QImage image(width, height, QImage::Format_RGB32);
  const auto isLight = [check = std::max(checkSize, 1)](int x, int y) { return (x / check + y / check) % 2 == 0; };
  for (int x = 0; x < width; ++x) {
    const auto last = static_cast<double>(entries_.size() - 1);
    const double position = width > 1 ? last * x / (width - 1) : 0;
    const Entry& entry = entries_[static_cast<std::size_t>(std::lround(position))];
    for (int y = 0; y < height; ++y) {
      const double behind = isLight(x, y) ? 1.0 : 0.6, opacity = alpha ? double{entry.alpha} : 1.0;
      const auto part = [&](float own) {
        return static_cast<int>(std::lround(255 * (opacity * double{own} + (1 - opacity) * behind)));
      };
      image.setPixel(x, y, qRgb(part(entry.color.r), part(entry.color.g), part(entry.color.b)));
    }
  }
  return QPixmap::fromImage(image);
}
