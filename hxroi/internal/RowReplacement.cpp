#include "hxroi/internal/RowReplacement.h"

#include <exception>

#include "hxroi/HxRois.h"
#include "hxroi/details/Mask.h"
#include "hxroi/details/logFailure.h"
#include "hxroi/internal/QxRoiTreeModel.h"

namespace hxroi {

RowReplacement::RowReplacement(QxRoiTreeModel& model, const QModelIndex& target)
    : model_(model), parent_(model.getItem(target.parent())), row_(target.row()) {}

RowReplacement::Item RowReplacement::itemAt(const QModelIndex& index) const {
  return model_.getItem(index);
}

bool RowReplacement::run(const Masks& masks) {
  if (!parent_) return false;
  try {
    makeRoomFor(masks.size());
    if (!insert(masks)) {
      undo();
      return false;
    }
  } catch (...) {
    undo();
    throw;
  }
  for (const Removed& removed : takenOut_) delete removed.item;
  for (const Item& item : std::as_const(outgoing_)) remove(item);
  return true;
}

void RowReplacement::makeRoomFor(std::size_t count) {
  const HxRois* rois = model_.getRoot()->getRois();
  while (!outgoing_.isEmpty() && rois->getNumberOfMasks() + count > HxRois::kMaximumNumberOfMasks) {
    const Item item = outgoing_.takeFirst();
    if (!item) continue;
    takenOut_.push_back(takeOut(*item));
    if (takenOut_.back().parent == parent_ && takenOut_.back().row < row_) --row_;
  }
}

RowReplacement::Removed RowReplacement::takeOut(QxRoiTreeItem& item) {
  QxRoiTreeItem* parent = item.parent();
  const int row = item.childNumber();
  return {model_.removeRoi(row, model_.indexFromTreeItem(parent), true), parent, row};
}

bool RowReplacement::insert(const Masks& masks) {
  for (int i = 0; i < static_cast<int>(masks.size()); ++i) {
    const auto& mask = masks[static_cast<std::size_t>(i)];
    mask->setName(model_.getUniqueName(mask->name()));
    QxRoiTreeItem* item = model_.insertRoi(row_ + i, mask, model_.indexFromTreeItem(parent_), true);
    if (!item) return false;
    inserted_.append(item);
  }
  return true;
}

void RowReplacement::undo() noexcept {
  try {
    for (const Item& item : std::as_const(inserted_)) remove(item);
    for (auto removed = takenOut_.rbegin(); removed != takenOut_.rend(); ++removed) {
      model_.insertTreeItem(removed->row, removed->item, model_.indexFromTreeItem(removed->parent), true);
    }
  } catch (const std::exception& failure) {
    details::logFailure("A refused change of ROIs could not be undone", failure.what());
  }
}

void RowReplacement::remove(QxRoiTreeItem* item) {
  if (!item || !item->parent()) return;
  delete model_.removeRoi(item->childNumber(), model_.indexFromTreeItem(item->parent()), true);
}

}  // namespace hxroi
