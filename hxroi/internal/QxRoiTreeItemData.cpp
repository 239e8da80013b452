#include <QPixmap>

#include "hxroi/details/Roi.h"
#include "hxroi/internal/QxRoiTreeItem.h"
#include "hxroi/internal/QxRoiTreeModel.h"
#include "quarn/kernel/app/HxResource.h"
#include "quarn/kernel/fields/HxColormap.h"

namespace {

constexpr const char* kFolderPicture = "/share/png/TreeViewDirectory.png";
constexpr int kPreviewWidth = 32;
constexpr int kPreviewHeight = 15;
constexpr int kPreviewChecks = 4;

}  // namespace

bool QxRoiTreeItem::showsCheckBox() const {
  return model_ && model_->roiModule() != QxRoiTreeModel::ROIS_MODULE;
}

Qt::ItemFlags QxRoiTreeItem::flags(int column) const {
  Qt::ItemFlags flags = Qt::ItemIsSelectable | Qt::ItemIsEnabled;
  if (column == kNameColumn) flags |= Qt::ItemIsUserCheckable | Qt::ItemIsDragEnabled | Qt::ItemIsDropEnabled;
  const bool isEdited = model_ && model_->roiModule() != QxRoiTreeModel::SELECTOR_MODULE;
  if (isEdited && (column == kNameColumn || (column == kColorColumn && !isMember()))) flags |= Qt::ItemIsEditable;
  return flags;
}

QVariant QxRoiTreeItem::data(int column, int role) const {
  switch (column) {
    case kNameColumn:
      return nameData(role);
    case kColorColumn:
      return isMember() ? QVariant() : colorData(role);
    case kColormapColumn:
      return isMember() ? QVariant() : colormapData(role);
    default:
      return {};
  }
}

QVariant QxRoiTreeItem::nameData(int role) const {
  switch (role) {
    case Qt::DisplayRole:
    case Qt::EditRole:
      return getName();
    case Qt::CheckStateRole:
      if (showsCheckBox()) return static_cast<int>(isVisible(false) ? Qt::Checked : Qt::Unchecked);
      return {};
    case Qt::DecorationRole:
      return isGroup() ? QVariant(QPixmap(HxResource::getRootDir() + kFolderPicture)) : QVariant();
    default:
      return {};
  }
}

QVariant QxRoiTreeItem::colorData(int role) const {
  return role == Qt::DecorationRole || role == Qt::EditRole ? QVariant(getColor()) : QVariant();
}

QVariant QxRoiTreeItem::colormapData(int role) const {
  const HxColormap* colormap = role == Qt::DecorationRole ? getColormap() : nullptr;
  if (!colormap) return {};
  return colormap->getPixmap(kPreviewWidth, kPreviewHeight, kPreviewChecks, roi_->isAlphaEnabled());
}

bool QxRoiTreeItem::setData(int column, const QVariant& value, int role) {
  if (column == kNameColumn && (role == Qt::DisplayRole || role == Qt::EditRole)) setName(value.toString());
  if (column == kColorColumn && (role == Qt::DecorationRole || role == Qt::EditRole)) setColor(value.value<QColor>());
  if (column == kNameColumn && role == Qt::CheckStateRole && showsCheckBox()) setVisible(value.toInt() == Qt::Checked);
  return true;
}

QVariant QxRoiTreeItem::headerData(int section, Qt::Orientation orientation, int role) const {
  if (orientation != Qt::Horizontal || role != Qt::DisplayRole) return {};
  switch (section) {
    case kNameColumn:
      return tr("Name");
    case kColorColumn:
      return tr("Color");
    case kColormapColumn:
      return tr("Colormap");
    default:
      return {};
  }
}
