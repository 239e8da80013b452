#include "hxroi/detail/placedGrids.h"

#include <QCoreApplication>
#include <QStringList>
#include <algorithm>
#include <array>
#include <cmath>

#include "hxroi/HxRois.h"
#include "hxroi/detail/SetPlace.h"
#include "quarn/kernel/app/HxMessage.h"
#include "quarn/kernel/fields/HxUniformScalarField3.h"

namespace hxroi {

namespace {

constexpr double kTolerance = 1e-3;  ///< part of a voxel
constexpr int kDigits = 9;           ///< so that places that differ read differently

QString tr(const char* text) {
  return QCoreApplication::translate("HxRois", text);
}

std::array<double, 3> worldOf(const HxGeometry3& geometry, const std::array<double, 3>& index) {
  std::array<double, 3> world = geometry.origin;
  for (std::size_t row = 0; row < 3; ++row) {
    for (std::size_t axis = 0; axis < 3; ++axis)
      world[row] += geometry.direction[3 * row + axis] * index[axis] * geometry.voxelSize[axis];
  }
  return world;
}

template <class Numbers>
QString listed(const Numbers& numbers, const QString& separator) {
  QStringList texts;
  for (const double number : numbers) texts << QString::number(number, 'g', kDigits);
  return texts.join(separator);
}

/// The axes only when they are not those of the world.
QString shownPlace(const HxGeometry3& geometry) {
  QString text = tr("(%1), voxels of %2 mm").arg(listed(geometry.origin, ", "), listed(geometry.voxelSize, " x "));
  if (geometry.direction != HxGeometry3().direction)
    text += tr(", turned by (%1)").arg(listed(geometry.direction, ", "));
  return text;
}

}  // namespace

std::optional<PlacedGrid> placedGrid(const HxUniformScalarField3* field) {
  if (!field) return std::nullopt;
  return PlacedGrid{field->getLabel(), field->latticeDimensions(), field->geometry()};
}

std::optional<PlacedGrid> placedGrid(const HxRois& rois) {
  const std::optional<HxGeometry3> place = placeOf(rois);
  if (!place || rois.masks().empty()) return std::nullopt;
  return PlacedGrid{rois.getLabel(), McDim3l(rois.dimensions()), *place};
}

bool isSamePlace(const McDim3l& grid, const HxGeometry3& geometry, const HxGeometry3& other) {
  const double voxel = *std::min_element(geometry.voxelSize.begin(), geometry.voxelSize.end());
  for (int corner = 0; corner < 8; ++corner) {
    const auto at = [&](int axis) { return (corner >> axis & 1) != 0 ? static_cast<double>(grid[axis] - 1) : 0.0; };
    const std::array<double, 3> index{at(0), at(1), at(2)};
    const auto a = worldOf(geometry, index), b = worldOf(other, index);
    if (!(std::hypot(a[0] - b[0], a[1] - b[1], a[2] - b[2]) <= kTolerance * voxel)) return false;
  }
  return true;
}

bool liesElsewhere(const std::optional<PlacedGrid>& grid, const std::optional<PlacedGrid>& other) {
  return grid && other && grid->dimensions == other->dimensions &&
         !isSamePlace(grid->dimensions, grid->geometry, other->geometry);
}

bool warnOfPlaces(const std::optional<PlacedGrid>& grid, const std::optional<PlacedGrid>& other,
                  const QString& consequence) {
  if (!liesElsewhere(grid, other)) return false;
  HxMessage::warning(
      tr("%1 and %2 have one grid but lie in different places, the first at %3, the other at %4: %5")
          .arg(grid->label, other->label, shownPlace(grid->geometry), shownPlace(other->geometry), consequence));
  return true;
}

}  // namespace hxroi
