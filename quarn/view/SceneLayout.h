#pragma once

#include <QRect>
#include <QString>
#include <QStringList>
#include <vector>

#include "quarn/view/export.h"

namespace quarn::view {

/// The panes of a view: space, and slices across the three lattice axes.
enum class Pane { X = 0, Y = 1, Z = 2, Space = 3 };

struct PlacedPane {
  Pane pane;
  QRect place;
};

/// How panes share a picture: "column" has space on the left and the slices in a column on the right, "four" has four
/// equal quarters, "space", "x", "y" and "z" have one pane.
QUARN_VIEW_API QStringList layoutNames();

/// Where the panes of a layout go in a picture of this size. Panes without a pixel are left out, the first one gets the
/// picture then. `layout` is one of layoutNames().
QUARN_VIEW_API std::vector<PlacedPane> placePanes(const QString& layout, int width, int height);

}  // namespace quarn::view
