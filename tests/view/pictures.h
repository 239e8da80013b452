#pragma once

#include <QImage>
#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "quarn/base/McColor.h"

/// The largest difference of any channel of any pixel; 256 for pictures of different size.
inline int largestDifference(const QImage& a, const QImage& b) {
  if (a.size() != b.size()) return 256;
  int largest = 0;
  for (int y = 0; y < a.height(); ++y)
    for (int x = 0; x < a.width(); ++x) {
      const QRgb p = a.pixel(x, y), q = b.pixel(x, y);
      largest = std::max(
          {largest, std::abs(qRed(p) - qRed(q)), std::abs(qGreen(p) - qGreen(q)), std::abs(qBlue(p) - qBlue(q))});
    }
  return largest;
}

/// Pixels whose hue is that of `color`: channels that it has not are below half of those that it has.
inline int countLike(const QImage& picture, const McColor& color) {
  int count = 0;
  for (int y = 0; y < picture.height(); ++y)
    for (int x = 0; x < picture.width(); ++x) {
      const QRgb pixel = picture.pixel(x, y);
      const int values[3] = {qRed(pixel), qGreen(pixel), qBlue(pixel)};
      int lowest = 255, highest = 0;
      for (int channel = 0; channel < 3; ++channel) {
        if (color[channel] > 0.5f) lowest = std::min(lowest, values[channel]);
        if (color[channel] <= 0.5f) highest = std::max(highest, values[channel]);
      }
      count += lowest > 60 && 2 * highest < lowest;
    }
  return count;
}

/// The middle of those pixels along x and y, in parts of the picture; (-1, -1) without any.
inline std::pair<double, double> middleOf(const QImage& picture, const McColor& color) {
  double sumX = 0, sumY = 0;
  int count = 0;
  for (int y = 0; y < picture.height(); ++y)
    for (int x = 0; x < picture.width(); ++x) {
      if (countLike(picture.copy(x, y, 1, 1), color) == 0) continue;
      sumX += x + 0.5;
      sumY += y + 0.5;
      ++count;
    }
  if (count == 0) return {-1, -1};
  return {sumX / count / picture.width(), sumY / count / picture.height()};
}
