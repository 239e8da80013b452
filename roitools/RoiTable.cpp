#include "roitools/RoiTable.h"

#include <QCoreApplication>
#include <QLocale>
#include <QString>
#include <utility>
#include <vector>

#include "hxroi/HxRois.h"
#include "hxroi/details/Roi.h"
#include "quarn/base/McException.h"
#include "quarn/base/McProgressInterface.h"
#include "quarn/kernel/HxException.h"
#include "quarn/kernel/app/HxInterrupt.h"
#include "quarn/kernel/fields/HxTable.h"
#include "quarn/kernel/fields/HxUniformScalarField3.h"
#include "roitools/RoiContent.h"
#include "roitools/RoiMeasure.h"

namespace roitools {

namespace {

using hxroi::details::Roi;
using Cell = HxTable::Cell;
using Kind = HxTable::Kind;

constexpr int kDecimals = 2;

/// Identifiers of ROIs are Latin-1; cells are UTF-8.
std::string utf8(const std::string& latin1) {
  return QString::fromLatin1(latin1.c_str()).toStdString();
}

void addColumns(HxTable& table, bool withImage) {
  table.addColumn("name", Kind::Text);
  table.addColumn("group", Kind::Text);
  table.addColumn("voxels", Kind::Integer);
  table.addColumn("volume_mm3", Kind::Real, kDecimals);
  for (const char* bound : {"xmin", "xmax", "ymin", "ymax", "zmin", "zmax"}) table.addColumn(bound, Kind::Integer);
  for (const char* axis : {"centroid_x", "centroid_y", "centroid_z"}) table.addColumn(axis, Kind::Real, kDecimals);
  if (withImage) {
    for (const char* value : {"mean", "sd", "min", "max"}) table.addColumn(value, Kind::Real, kDecimals);
  }
  table.hideInText(table.addColumn("id", Kind::Text));
  table.hideInText(table.addColumn("color", Kind::Text));
}

std::string colorText(const McColor& color) {
  const QLocale numbers = QLocale::c();
  const auto text = [&](float part) { return numbers.toString(part, 'g', QLocale::FloatingPointShortest); };
  return QString("%1 %2 %3").arg(text(color.r), text(color.g), text(color.b)).toStdString();
}

void appendBox(HxTable::Row& row, const RoiMeasure& measure) {
  for (int bound = 0; bound < 6; ++bound) {
    row.emplace_back();
    if (measure.voxels > 0) row.back() = std::int64_t{measure.box[bound]};
  }
}

void appendCentroid(HxTable::Row& row, const RoiMeasure& measure, const HxRegScalarField3* place) {
  if (measure.voxels == 0 || !place) {
    row.insert(row.end(), 3, Cell());
    return;
  }
  const auto index = measure.centroidIndex();
  for (const double coordinate : place->voxelToWorld(index[0], index[1], index[2])) row.emplace_back(coordinate);
}

void appendValues(HxTable::Row& row, const Moments& values) {
  if (values.count == 0) {
    row.insert(row.end(), 4, Cell());
    return;
  }
  for (const double value : {values.mean, values.standardDeviation(), values.minimum, values.maximum}) {
    row.emplace_back(value);
  }
}

void stopWhen(bool isInterrupted) {
  if (!isInterrupted) return;
  throw hxException(QCoreApplication::translate("HxRoiStatistics", "The measurement was interrupted."));
}

HxTable::Row rowOf(const Roi& roi, const HxUniformScalarField3* image, const HxRegScalarField3* place) {
  const RoiMeasure measure = roitools::measure(contentOf(roi), image, [] { stopWhen(HxInterrupt::isRequested()); });
  HxTable::Row row;
  row.emplace_back(shownName(roi));
  row.emplace_back();
  if (roi.parent()) row.back() = shownGroup(roi);
  row.emplace_back(static_cast<std::int64_t>(measure.voxels));
  row.emplace_back();
  if (place) row.back() = static_cast<double>(measure.voxels) * place->voxelVolume();
  appendBox(row, measure);
  appendCentroid(row, measure, place);
  if (image) appendValues(row, measure.values);
  row.emplace_back(utf8(roi.id()));
  row.emplace_back(colorText(roi.color()));
  return row;
}

}  // namespace

void fillRoiTable(HxTable& table, const HxRois& rois, const HxUniformScalarField3* image,
                  const HxRegScalarField3* place, McProgressInterface& progress) {
  const std::vector<const Roi*> all = roisInOrder(rois);
  std::vector<HxTable::Row> rows;
  for (const Roi* roi : all) {
    stopWhen(progress.isInterrupted());
    rows.push_back(rowOf(*roi, image, place));
    progress.setValue(static_cast<float>(rows.size()) / static_cast<float>(all.size()));
  }
  table.clear();
  addColumns(table, image != nullptr);
  for (auto& row : rows) table.addRow(std::move(row));
}

}  // namespace roitools
