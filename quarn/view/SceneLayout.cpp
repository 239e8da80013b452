#include "quarn/view/SceneLayout.h"

#include <algorithm>

namespace quarn::view {

namespace {

/// The line between panes.
constexpr int GAP = 2;

struct Span {
  int start = 0;
  int length = 0;
};

/// Part `i` of `count` equal parts of a length.
Span part(int start, int length, int i, int count) {
  const int room = length - GAP * (count - 1);
  const int first = room * i / count, next = room * (i + 1) / count;
  return {start + first + GAP * i, next - first};
}

QRect rectangle(const Span& x, const Span& y) {
  return {x.start, y.start, x.length, y.length};
}

std::vector<PlacedPane> column(int width, int height) {
  const int slices = std::clamp(height / 3, 0, width / 2);
  const Span right{width - slices, slices};
  std::vector<PlacedPane> panes{{Pane::Space, QRect(0, 0, width - slices - GAP, height)}};
  const Pane order[] = {Pane::Z, Pane::Y, Pane::X};
  for (int i = 0; i < 3; ++i) panes.push_back({order[i], rectangle(right, part(0, height, i, 3))});
  return panes;
}

std::vector<PlacedPane> four(int width, int height) {
  const Span left = part(0, width, 0, 2), right = part(0, width, 1, 2);
  const Span top = part(0, height, 0, 2), bottom = part(0, height, 1, 2);
  return {{Pane::Z, rectangle(left, top)},
          {Pane::Space, rectangle(right, top)},
          {Pane::Y, rectangle(left, bottom)},
          {Pane::X, rectangle(right, bottom)}};
}

}  // namespace

QStringList layoutNames() {
  return {QStringLiteral("column"), QStringLiteral("four"), QStringLiteral("space"),
          QStringLiteral("x"),      QStringLiteral("y"),    QStringLiteral("z")};
}

std::vector<PlacedPane> placePanes(const QString& layout, int width, int height) {
  const QRect all(0, 0, width, height);
  if (layout == QLatin1String("space")) return {{Pane::Space, all}};
  if (layout == QLatin1String("x")) return {{Pane::X, all}};
  if (layout == QLatin1String("y")) return {{Pane::Y, all}};
  if (layout == QLatin1String("z")) return {{Pane::Z, all}};
  std::vector<PlacedPane> panes = layout == QLatin1String("four") ? four(width, height) : column(width, height);
  const Pane first = panes.front().pane;
  std::erase_if(panes, [](const PlacedPane& pane) { return pane.place.isEmpty(); });
  if (panes.empty()) panes.push_back({first, all});
  return panes;
}

}  // namespace quarn::view
