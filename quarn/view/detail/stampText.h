#pragma once

#include <QColor>
#include <QImage>
#include <QString>

namespace quarn::view::detail {

/// Which point of a text stands at the place that is given for it, from 0 (left, top) to 1 (right, bottom).
struct Anchor {
  double x = 0;
  double y = 0;
};

/// Writes a line into a picture; what lies outside is cut off. `size` is the height of the font in pixels.
void stampText(QImage& picture, const QString& text, double x, double y, const Anchor& anchor, int size,
               const QColor& color);

}  // namespace quarn::view::detail
