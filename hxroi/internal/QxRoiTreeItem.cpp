#include "hxroi/internal/QxRoiTreeItem.h"

#include <algorithm>
#include <cmath>

#include "hxroi/HxRois.h"
#include "hxroi/details/Group.h"
#include "hxroi/details/Mask.h"
#include "hxroi/internal/ItemPlace.h"
#include "hxroi/internal/ItemRename.h"

using hxroi::details::Group;
using hxroi::details::Mask;
using hxroi::details::Roi;

namespace {

float channel(float value) {
  return std::isnan(value) ? 0.0F : std::clamp(value, 0.0F, 1.0F);
}

}  // namespace

QxRoiTreeItem::QxRoiTreeItem(Roi* roi, QxRoiTreeItem* parent, QxRoiTreeModel* model)
    : roi_(roi), model_(model), parent_(parent) {}

QxRoiTreeItem::QxRoiTreeItem(HxRois* rois, QxRoiTreeModel* model) : rois_(rois), model_(model) {}

QxRoiTreeItem::~QxRoiTreeItem() {
  qDeleteAll(children_);
}

int QxRoiTreeItem::columnCount() const {
  return kColumnCount;
}

bool QxRoiTreeItem::isVisible(bool checkParent) const {
  if (checkParent && isMember() && !parent_->isVisible(true)) return false;
  return visible_;
}

void QxRoiTreeItem::setVisible(bool visible) {
  visible_ = visible;
}

// --- The tree -----------------------------------------------------------------------------------------------------

int QxRoiTreeItem::childNumber() const {
  return parent_ ? static_cast<int>(parent_->children_.indexOf(this)) : 0;
}

bool QxRoiTreeItem::insertChild(int position, QxRoiTreeItem* item, bool updateRois) {
  if (updateRois) {
    if (!hxroi::canStandIn(*this, *item)) return false;
    hxroi::enterPlace(*this, position, *item);
  }
  item->parent_ = this;
  const bool isInside = position >= 0 && position <= childCount();
  children_.insert(isInside ? position : childCount(), item);
  return true;
}

QxRoiTreeItem* QxRoiTreeItem::removeChild(int position, bool updateRois) {
  if (position < 0 || position > childCount()) return nullptr;
  // Also in builds where the list does not look.
  if (position == childCount()) qt_assert_x("QxRoiTreeItem::removeChild", "index out of range", __FILE__, __LINE__);
  QxRoiTreeItem* item = children_.at(position);
  if (updateRois) {
    if (!hxroi::canStandIn(*this, *item)) return nullptr;
    hxroi::leavePlace(*this, *item);
  }
  children_.removeAt(position);
  item->parent_ = nullptr;
  return item;
}

void QxRoiTreeItem::replaceRoi(Roi* newRoi) {
  if (!roi_ || !newRoi || !parent_) return;
  hxroi::checkIdentity(*parent_, *this);
  const McHandle<Roi> kept(newRoi);
  const std::string name = roi_->name();
  if (auto* group = dynamic_cast<Group*>(parent_->roi_.get())) {
    auto* mask = dynamic_cast<Mask*>(newRoi);
    if (!mask) return;
    group->replaceMask(name, mask);
  } else if (HxRois* rois = parent_->rois_) {
    rois->replaceRoi(name, newRoi);
  }
  roi_ = kept;
}

// --- The ROI ------------------------------------------------------------------------------------------------------

void QxRoiTreeItem::clearRoi() {
  roi_.reset();
}

bool QxRoiTreeItem::isMask() const {
  return dynamic_cast<const Mask*>(roi_.get()) != nullptr;
}

bool QxRoiTreeItem::isGroup() const {
  return dynamic_cast<const Group*>(roi_.get()) != nullptr;
}

QString QxRoiTreeItem::getName() const {
  if (rois_) return rois_->getLabel();
  if (roi_) return QString::fromLatin1(roi_->name());
  return tr("Unknown");
}

QString QxRoiTreeItem::getId() const {
  return roi_ ? QString::fromLatin1(roi_->id()) : QString();
}

void QxRoiTreeItem::setName(const QString& text) {
  if (rois_) {
    rois_->setLabel(text);
    return;
  }
  if (!roi_ || text == getName()) return;
  roi_->setName(hxroi::nameFor(*this, text));
}

QColor QxRoiTreeItem::getColor() const {
  if (!roi_) return {};
  const McColor color = roi_->color(true);
  return QColor::fromRgbF(channel(color.r), channel(color.g), channel(color.b));
}

void QxRoiTreeItem::setColor(const QColor& color) {
  if (roi_) roi_->setColor(McColor(color.redF(), color.greenF(), color.blueF()));
}

const HxColormap* QxRoiTreeItem::getColormap() const {
  return roi_ ? roi_->colormap(true) : nullptr;
}

void QxRoiTreeItem::setColormap(const HxColormap* colormap) {
  if (roi_) roi_->setColormap(colormap);
}
