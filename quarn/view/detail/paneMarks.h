#pragma once

#include <QColor>
#include <QImage>
#include <QRect>
#include <array>

#include "quarn/base/McColor.h"
#include "quarn/view/ColorTransfer.h"
#include "quarn/view/SceneCamera.h"
#include "quarn/view/SlicePlane.h"

namespace quarn::view::detail {

/// What lies between panes.
QColor gapColor(const McColor& background);

/// The pixels that the lattice fills.
QRect usedPart(const SlicePlane& plane, const McDim3l& dimensions, const HxGeometry3& geometry);

/// `picture` with the pixels of one colour that are connected with its edges made transparent.
QImage withoutSurroundings(const QImage& picture, QRgb color);
QRgb colorOf(const ColorTransfer::Color& color);

/// Thin lines where the other slices cross this one.
void markOtherSlices(QImage& picture, const SlicePlane& plane, const HxGeometry3& geometry,
                     const std::array<double, 3>& slices, int axis);
/// Letters at the edges: which side of a patient is there.
void markSides(QImage& picture, const SlicePlane& plane);
void markSlice(QImage& picture, int axis, double index);
/// The same letters for a view into space.
void markView(QImage& picture, const SceneCamera& camera);

}  // namespace quarn::view::detail
