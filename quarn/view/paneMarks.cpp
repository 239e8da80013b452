#include "quarn/view/detail/paneMarks.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "quarn/view/detail/stampText.h"

namespace quarn::view::detail {

namespace {

/// Smaller panes have no room for letters.
constexpr int SMALLEST = 96;

QColor letterColor(const QImage& picture) {
  const bool isBright = qGray(picture.pixel(0, 0)) > 128;
  return isBright ? QColor(40, 44, 52) : QColor(214, 218, 226);
}

int letterSize(const QImage& picture) {
  return std::clamp(std::min(picture.width(), picture.height()) / 24, 9, 40);
}

bool hasRoom(const QImage& picture) {
  return std::min(picture.width(), picture.height()) >= SMALLEST;
}

/// Towards black over bright pixels and towards a warm white over dark ones: seen over both.
void blendPixel(QImage& picture, int x, int y) {
  if (x < 0 || y < 0 || x >= picture.width() || y >= picture.height()) return;
  QRgb& pixel = reinterpret_cast<QRgb*>(picture.scanLine(y))[x];
  const QColor line = qGray(pixel) > 128 ? QColor(0, 20, 75) : QColor(255, 235, 180);
  const auto mixed = [](int under, int over) { return (under * 3 + over) / 4; };
  pixel = qRgb(mixed(qRed(pixel), line.red()), mixed(qGreen(pixel), line.green()), mixed(qBlue(pixel), line.blue()));
}

/// Letters with a rim of the opposite shade, to be read over bright and dark alike.
void stampLetters(QImage& picture, const QString& text, double x, double y, const Anchor& anchor, int size,
                  const QColor& color) {
  const QColor rim = qGray(color.rgb()) > 128 ? QColor(0, 0, 0) : QColor(255, 255, 255);
  for (const auto& [dx, dy] : {std::pair(-1, 0), std::pair(1, 0), std::pair(0, -1), std::pair(0, 1)})
    stampText(picture, text, x + dx, y + dy, anchor, size, rim);
  stampText(picture, text, x, y, anchor, size, color);
}

void markEdges(QImage& picture, const Point3& right, const Point3& down) {
  if (!hasRoom(picture)) return;
  const int size = letterSize(picture), width = picture.width(), height = picture.height();
  const QColor color = letterColor(picture);
  const double margin = size * 0.5;
  const auto turned = [](const Point3& v) { return Point3{-v[0], -v[1], -v[2]}; };
  stampLetters(picture, SlicePlane::sideOf(turned(right)), margin, height / 2.0, {0, 0.5}, size, color);
  stampLetters(picture, SlicePlane::sideOf(right), width - margin, height / 2.0, {1, 0.5}, size, color);
  stampLetters(picture, SlicePlane::sideOf(turned(down)), width / 2.0, margin, {0.5, 0}, size, color);
  stampLetters(picture, SlicePlane::sideOf(down), width / 2.0, height - margin, {0.5, 1}, size, color);
}

}  // namespace

QColor gapColor(const McColor& background) {
  const bool isBright = background.r + background.g + background.b > 1.5f;
  const auto shifted = [isBright](float value) {
    return static_cast<int>(std::clamp(value + (isBright ? -0.18f : 0.14f), 0.0f, 1.0f) * 255);
  };
  return {shifted(background.r), shifted(background.g), shifted(background.b)};
}

QRect usedPart(const SlicePlane& plane, const McDim3l& dimensions, const HxGeometry3& geometry) {
  const LatticeMap map(geometry);
  const Point3 first = map.toIndex(plane.first), right = map.stepToIndex(plane.right),
               down = map.stepToIndex(plane.down);
  QRect used(0, 0, plane.width, plane.height);
  for (int axis = 0; axis < 3; ++axis) {
    const auto i = static_cast<std::size_t>(axis);
    const auto clip = [&](double start, double step, int& begin, int& end) {
      if (std::abs(step) < 1e-9) return;
      const double a = (-0.5 - start) / step, b = (static_cast<double>(dimensions[axis]) - 0.5 - start) / step;
      begin = std::max(begin, static_cast<int>(std::ceil(std::min(a, b))));
      end = std::min(end, static_cast<int>(std::floor(std::max(a, b))));
    };
    int left = used.left(), last = used.right(), top = used.top(), bottom = used.bottom();
    clip(first[i], right[i], left, last);
    clip(first[i], down[i], top, bottom);
    used = QRect(QPoint(left, top), QPoint(std::max(left, last), std::max(top, bottom)));
  }
  return used;
}

QRgb colorOf(const ColorTransfer::Color& color) {
  const auto byte = [](float value) { return static_cast<int>(std::lround(std::clamp(value, 0.0f, 1.0f) * 255)); };
  return qRgb(byte(color.r), byte(color.g), byte(color.b));
}

QImage withoutSurroundings(const QImage& picture, QRgb color) {
  QImage result = picture.convertToFormat(QImage::Format_ARGB32);
  std::vector<QPoint> open;
  const auto visit = [&](int x, int y) {
    if (x < 0 || y < 0 || x >= result.width() || y >= result.height() || result.pixel(x, y) != color) return;
    result.setPixel(x, y, 0);
    open.emplace_back(x, y);
  };
  for (int x = 0; x < result.width(); ++x) {
    visit(x, 0);
    visit(x, result.height() - 1);
  }
  for (int y = 0; y < result.height(); ++y) {
    visit(0, y);
    visit(result.width() - 1, y);
  }
  while (!open.empty()) {
    const QPoint point = open.back();
    open.pop_back();
    visit(point.x() - 1, point.y());
    visit(point.x() + 1, point.y());
    visit(point.x(), point.y() - 1);
    visit(point.x(), point.y() + 1);
  }
  return result;
}

void markOtherSlices(QImage& picture, const SlicePlane& plane, const HxGeometry3& geometry,
                     const std::array<double, 3>& slices, int axis) {
  if (!hasRoom(picture)) return;
  const LatticeMap map(geometry);
  const Point3 first = map.toIndex(plane.first), right = map.stepToIndex(plane.right),
               down = map.stepToIndex(plane.down);
  for (std::size_t other = 0; other < 3; ++other) {
    if (static_cast<int>(other) == axis) continue;
    const bool isUpright = std::abs(right[other]) > std::abs(down[other]);
    const double step = isUpright ? right[other] : down[other];
    if (step == 0) continue;
    const int place = static_cast<int>(std::lround(std::clamp((slices[other] - first[other]) / step, -10.0, 1e6)));
    for (int i = 0; i < (isUpright ? plane.height : plane.width); ++i)
      blendPixel(picture, isUpright ? place : i, isUpright ? i : place);
  }
}

void markSides(QImage& picture, const SlicePlane& plane) {
  markEdges(picture, plane.right, plane.down);
}

void markSlice(QImage& picture, int axis, double index) {
  if (!hasRoom(picture)) return;
  const int size = letterSize(picture) * 4 / 5;
  const QString text = QStringLiteral("%1 %2").arg(QLatin1Char("xyz"[axis])).arg(std::lround(index));
  stampLetters(picture, text, size * 0.6, picture.height() - size * 0.6, {0, 1}, size, letterColor(picture));
}

void markView(QImage& picture, const SceneCamera& camera) {
  const Point3 &up = camera.up(), &towards = camera.direction();
  const Point3 right{up[1] * towards[2] - up[2] * towards[1], up[2] * towards[0] - up[0] * towards[2],
                     up[0] * towards[1] - up[1] * towards[0]};
  // From an oblique direction the letters would say too much.
  const auto isStraight = [](const Point3& v) {
    return std::max({std::abs(v[0]), std::abs(v[1]), std::abs(v[2])}) > 0.9;
  };
  if (isStraight(right) && isStraight(up)) markEdges(picture, right, {-up[0], -up[1], -up[2]});
}

}  // namespace quarn::view::detail
