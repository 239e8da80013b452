#include "hxroi/internal/RowReplacement.h"

#include <exception>
#include <utility>

#include "hxroi/HxRois.h"
#include "hxroi/details/Mask.h"
#include "hxroi/details/logFailure.h"
#include "hxroi/internal/QxRoiTreeModel.h"

namespace hxroi {

namespace {

/// One step of an undoing; what fails must not keep the others from being undone.
template <class Step>
void attempt(Step step) noexcept {
  try {
    step();
  } catch (const std::exception& failure) {
    details::logFailure("A refused change of ROIs could not be undone", failure.what());
  }
}

}  // namespace

RowReplacement::RowReplacement(QxRoiTreeModel& model, const QModelIndex& target, FullSet fullSet)
    : model_(model), parent_(model.getItem(target.parent())), row_(target.row()), fullSet_(fullSet) {}

RowReplacement::Item RowReplacement::itemAt(const QModelIndex& index) const {
  return model_.getItem(index);
}

bool RowReplacement::run(const Masks& masks) {
  if (!parent_) return false;
  try {
    if (fullSet_ == FullSet::MakeRoom) makeRoomFor(masks.size());
    if (!insert(masks)) {
      undo();
      return false;
    }
  } catch (...) {
    undo();
    throw;
  }
  takenOut_.clear();
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
  // A ROI that leaves its set loses its colormap.
  const details::Roi* roi = item.getRoi();
  const details::ColormapReference colormap(roi ? roi->colormap(false) : nullptr);
  std::unique_ptr<QxRoiTreeItem> taken(model_.removeRoi(row, model_.indexFromTreeItem(parent), true));
  return {std::move(taken), parent, row, colormap};
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
  for (const Item& item : std::as_const(inserted_)) attempt([&] { remove(item); });
  for (auto removed = takenOut_.rbegin(); removed != takenOut_.rend(); ++removed) {
    attempt([&] { putBack(*removed); });
    // The tree has it, also when somebody who heard of that failed.
    if (removed->item && removed->item->parent()) removed->item.release();
  }
  takenOut_.clear();
}

void RowReplacement::putBack(Removed& removed) {
  if (!removed.item || !removed.parent) return;
  const McHandle<details::Roi> roi(removed.item->getRoi());
  const QModelIndex parent = model_.indexFromTreeItem(removed.parent);
  const bool isBack = model_.insertTreeItem(removed.row, removed.item.get(), parent, true);
  if (isBack && roi) roi->setColormap(removed.colormap.get());
}

void RowReplacement::remove(QxRoiTreeItem* item) {
  if (!item || !item->parent()) return;
  delete model_.removeRoi(item->childNumber(), model_.indexFromTreeItem(item->parent()), true);
}

}  // namespace hxroi
