#include "quarn/formats/detail/labelField.h"

#include <QFileInfo>
#include <QStringList>
#include <algorithm>
#include <numeric>
#include <utility>
#include <vector>

#include "quarn/formats/detail/LabelNumbering.h"
#include "quarn/formats/detail/LabelVoxels.h"
#include "quarn/formats/detail/materials.h"
#include "quarn/formats/detail/newField.h"
#include "quarn/kernel/app/HxMessage.h"

namespace quarn::formats::detail {

namespace {

/// The label values that get a material, in the order of their numbers from 1 on.
std::vector<std::uint32_t> valuesWithMaterial(const LabelNumbering& numbering, const LabelNames* names,
                                              const HxLoadOptions& options) {
  if (numbering.isRenumbered()) return numbering.values();
  std::uint32_t largest = numbering.values().empty() ? 0 : numbering.values().back();
  for (const auto& [value, name] : names->byValue()) {
    const bool isKept = value <= LabelNumbering::largestNumber && options.admits(static_cast<int>(value));
    if (isKept) largest = std::max(largest, value);
  }
  std::vector<std::uint32_t> values(largest);
  std::iota(values.begin(), values.end(), 1U);
  return values;
}

void reportRenumbering(const LabelNumbering& numbering, const QString& file) {
  HxMessage::printf(
      "%s: labels up to %u were renumbered from 1 to %zu in increasing order; \"Id\" of each material is "
      "the value in the file\n",
      qUtf8Printable(QFileInfo(file).fileName()), numbering.values().back(), numbering.values().size());
}

QString rangeText(const std::pair<int, int>& range) {
  const QString first = QString::number(range.first);
  return range.first == range.second ? first : first + QLatin1Char('-') + QString::number(range.second);
}

/// A field without any of what was asked for would be taken for one with it.
void requireAny(const LabelNumbering& numbering, const HxLoadOptions& options, const QString& file) {
  if (options.values.empty() || !numbering.values().empty()) return;
  QStringList wanted;
  for (const auto& range : options.values) wanted += rangeText(range);
  refuse(file, QStringLiteral("holds no label of the values ") + wanted.join(QStringLiteral(", ")));
}

/// What was asked for by its values, but is not there.
void reportAbsent(const LabelNumbering& numbering, const HxLoadOptions& options, const QString& file) {
  QStringList absent;
  for (const auto& range : options.values) {
    const auto isInside = [&range](std::uint32_t value) {
      return range.first <= static_cast<int>(value) && static_cast<int>(value) <= range.second;
    };
    if (std::ranges::none_of(numbering.values(), isInside)) absent += rangeText(range);
  }
  if (absent.isEmpty()) return;
  HxMessage::warning(QStringLiteral("%1: no voxel has one of the values %2")
                         .arg(QFileInfo(file).fileName(), absent.join(QStringLiteral(", "))));
}

}  // namespace

McHandle<HxUniformLabelField3> readLabelField(ImageVolume& volume, const LabelNames* names,
                                              const HxLoadOptions& options, const QString& file,
                                              const ImageVolume::Progress& progress) {
  LabelVoxels voxels(volume.kind(), volume.dimensions());
  volume.readVoxels(voxels.data(), progress);
  const LabelNumbering numbering(voxels.collectLabels(file), options, file);
  requireAny(numbering, options, file);
  const auto field = newField<HxUniformLabelField3>(file, latticeOf(volume));
  voxels.renumber(numbering, field->lattice().getLabels(0));
  if (names || numbering.isRenumbered()) {
    addMaterials(*field->materials(true), valuesWithMaterial(numbering, names, options), names);
  }
  if (numbering.isRenumbered()) reportRenumbering(numbering, file);
  reportAbsent(numbering, options, file);
  return field;
}

}  // namespace quarn::formats::detail
