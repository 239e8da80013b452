#include "hxroi/internal/roiToolTip.h"

#include <QCoreApplication>
#include <QLocale>
#include <QStringList>
#include <cstdint>
#include <exception>
#include <optional>

#include "hxroi/HxRois.h"
#include "hxroi/detail/SetPlace.h"
#include "hxroi/details/Mask.h"
#include "hxroi/details/toolkitBoxes.h"
#include "hxroi/internal/QxRoiTreeItem.h"
#include "hxroi/internal/QxRoiTreeModel.h"
#include "quarn/kernel/fields/geometryParameters.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"

using hxroi::details::Mask;

namespace {

/// Voxels that are counted while the user waits: a few milliseconds.
constexpr std::int64_t kQuickVoxels = std::int64_t{1} << 25;
constexpr int kShownMembers = 10;

QString tr(const char* text) {
  return QCoreApplication::translate("QxRoiTreeView", text);
}

/// Where set voxels can be. The exact box of a mask that was made full is empty.
McBox3i searchedBox(const Mask& mask) {
  const McVec3i n = mask.dimensions();
  for (const auto& box : {mask.cachedBoundingBox(), mask.cachedApproximatedBoundingBox()})
    if (box && !box->isEmpty()) return *box;
  return McBox3i(McVec3i(0, 0, 0), McVec3i(n.x - 1, n.y - 1, n.z - 1));
}

std::optional<std::uint64_t> quickCount(const Mask& mask) {
  const McBox3i box = searchedBox(mask);
  const McDim3l size = box.getSize();
  // Not to be multiplied out: the product of three axes may not fit.
  if (size.nx * size.ny > kQuickVoxels || size.nx * size.ny * size.nz > kQuickVoxels) return std::nullopt;
  try {
    return mask.volumeMask()->countSetVoxels(hxroi::toToolkit(box));
  } catch (const std::exception&) {
    return std::nullopt;
  }
}

std::optional<double> voxelVolume(const QxRoiTreeItem& item) {
  const QxRoiTreeModel* model = item.getModel();
  const QxRoiTreeItem* root = model ? model->getRoot() : nullptr;
  const HxRois* rois = root ? root->getRois() : nullptr;
  const std::optional<HxGeometry3> place = rois ? hxroi::placeOf(*rois) : std::nullopt;
  return place ? std::optional(::voxelVolume(*place)) : std::nullopt;
}

QString textOfMask(const Mask& mask, std::optional<double> volumeOfVoxel) {
  const McVec3i n = mask.dimensions();
  QString text = tr("mask of %1 x %2 x %3 voxels").arg(n.x).arg(n.y).arg(n.z);
  const std::optional<std::uint64_t> count = quickCount(mask);
  if (!count) return text;
  const QLocale plain(QLocale::English, QLocale::UnitedStates);
  text += "\n" + tr("%1 voxels set").arg(plain.toString(static_cast<qulonglong>(*count)));
  if (volumeOfVoxel) {
    const double volume = static_cast<double>(*count) * *volumeOfVoxel;
    text += QString(", %1 mm").arg(plain.toString(volume, 'g', 6)) + QChar(0xB3);
  }
  return text;
}

QString textOfGroup(const QxRoiTreeItem& group) {
  QStringList names;
  for (int i = 0; i < group.childCount() && i < kShownMembers; ++i) names.append(group.child(i)->getName());
  const QString more = group.childCount() > kShownMembers ? ", ..." : "";
  const QString text = tr("group of %1 masks").arg(group.childCount());
  return names.isEmpty() ? text : text + "\n" + names.join(", ") + more;
}

}  // namespace

QString hxroi::roiToolTip(const QxRoiTreeItem& item) {
  if (item.isGroup()) return item.getName() + "\n" + textOfGroup(item);
  const auto* mask = dynamic_cast<const Mask*>(item.getRoi());
  return mask ? item.getName() + "\n" + textOfMask(*mask, voxelVolume(item)) : QString();
}
