#include <QPointer>
#include <exception>
#include <memory>
#include <optional>
#include <utility>
#include <vector>

#include "hxroi/HxRois.h"
#include "hxroi/details/Group.h"
#include "hxroi/details/Mask.h"
#include "hxroi/details/Roi.h"
#include "hxroi/details/logFailure.h"
#include "hxroi/internal/ItemPlace.h"
#include "hxroi/internal/QxRoiTreeItem.h"
#include "hxroi/internal/QxRoiTreeModel.h"
#include "quarn/base/McException.h"
#include "quarn/kernel/HxException.h"
#include "quarn/kernel/app/HxMessage.h"

// The set changes first: it may refuse, and views cannot be told to forget rows that were announced.

using hxroi::details::Group;
using hxroi::details::Mask;
using hxroi::details::Roi;

namespace {

constexpr unsigned int kContent = 8;

int placeIn(const QxRoiTreeItem& parent, int position) {
  return position < 0 || position > parent.childCount() ? parent.childCount() : position;
}

/// Why the set refused, if it did.
template <class Edit>
std::optional<QString> refusalOf(Edit edit) {
  try {
    edit();
    return {};
  } catch (const McException& refusal) {
    return hxText(refusal);
  }
}

}  // namespace

/// Rows come or go as long as one of these lives.
class QxRoiTreeModel::RowChange {
public:
  explicit RowChange(QxRoiTreeModel& model) : model_(&model) { ++model_->rowChanges_; }
  ~RowChange() {
    if (!model_ || --model_->rowChanges_ > 0) return;
    if (std::exchange(model_->missedSynchronization_, false)) model_->makeUpForSynchronization();
  }
  RowChange(const RowChange&) = delete;
  RowChange& operator=(const RowChange&) = delete;

  /// The rows below a node that has got another ROI.
  void renewMembers(QxRoiTreeItem& item) const;

private:
  const QPointer<QxRoiTreeModel> model_;  ///< those who hear of rows may end it
};

bool QxRoiTreeModel::putsOffSynchronization() {
  if (rowChanges_ == 0) return false;
  missedSynchronization_ = true;
  return true;
}

void QxRoiTreeModel::makeUpForSynchronization() noexcept {
  if (!rois_) return;
  try {
    rois_->touch(kContent);
    rois_->fire(1);
  } catch (const std::exception& failure) {
    hxroi::details::logFailure("A ROI set could not be evaluated", failure.what());
  }
}

// --- Rows alone ---------------------------------------------------------------------------------------------------

void QxRoiTreeModel::insertRow(int position, QxRoiTreeItem* item, QxRoiTreeItem& parent) {
  const int row = placeIn(parent, position);
  beginInsertRows(indexFromTreeItem(&parent), row, row);
  parent.insertChild(row, item, false);
  endInsertRows();
}

QxRoiTreeItem* QxRoiTreeModel::removeRow(int position, QxRoiTreeItem& parent) {
  beginRemoveRows(indexFromTreeItem(&parent), position, position);
  QxRoiTreeItem* item = parent.removeChild(position, false);
  endRemoveRows();
  return item;
}

void QxRoiTreeModel::reportInsertion(QxRoiTreeItem* item, const QModelIndex& parent, int position) {
  configureInsertedRoi(item);
  const QPointer<QxRoiTreeModel> self(this);
  Q_EMIT modelRowsInserted(parent, position, position);
  if (self) tellOfLayout();
}

void QxRoiTreeModel::tellOfLayout() {
  Q_EMIT layoutAboutToBeChanged();
  Q_EMIT layoutChanged();
}

QxRoiTreeItem* QxRoiTreeModel::detachItem(QxRoiTreeItem* item) {
  const QModelIndexList remembered = persistentIndexList();
  for (const QModelIndex& index : remembered) {
    if (index.internalPointer() == item) changePersistentIndex(index, {});
  }
  return item->parent()->removeChild(item->childNumber(), false);
}

void QxRoiTreeModel::RowChange::renewMembers(QxRoiTreeItem& item) const {
  const QPointer<QxRoiTreeItem> life(&item);
  while (model_ && life && item.childCount() > 0) delete model_->removeRow(item.childCount() - 1, item);
  auto* group = life ? dynamic_cast<Group*>(item.getRoi()) : nullptr;
  if (!group) return;
  std::vector<McHandle<Mask>> masks;
  for (Mask& mask : *group) masks.emplace_back(&mask);
  for (const auto& mask : masks) {
    if (model_ && life) model_->insertRow(item.childCount(), model_->createItem(mask, &item), item);
  }
}

// --- Rows and set -------------------------------------------------------------------------------------------------

QxRoiTreeItem* QxRoiTreeModel::insertRoi(int position, Roi* roi, const QModelIndex& parent, bool updateRois) {
  const QPointer<QxRoiTreeItem> parentItem = getItem(parent);
  if (!parentItem) return nullptr;
  const QPointer<QxRoiTreeModel> self(this);
  std::unique_ptr<QxRoiTreeItem> item(createItem(roi, parentItem));
  const bool stands = !updateRois || hxroi::canStandIn(*parentItem, *item);
  std::optional<QString> refusal;
  // Those who hear of the row may take it out again.
  const QPointer<QxRoiTreeItem> inserted(item.get());
  {
    const RowChange change(*this);
    if (stands && updateRois) refusal = refusalOf([&] { hxroi::enterPlace(*parentItem, position, *item); });
    if (!refusal) item.release();  // tree or caller owns it
    if (stands && !refusal) insertRow(position, inserted, *parentItem);
  }
  if (refusal) HxMessage::error(*refusal);
  item.reset();
  if (!self) return nullptr;
  if (refusal) {
    beginResetModel();
    endResetModel();
  } else if (!inserted) {
    return nullptr;
  }
  reportInsertion(inserted, indexFromTreeItem(parentItem), position);
  return self ? inserted.data() : nullptr;
}

bool QxRoiTreeModel::insertTreeItem(int position, QxRoiTreeItem* item, const QModelIndex& parent, bool updateRois) {
  QxRoiTreeItem* parentItem = getItem(parent);
  if (!parentItem || !item) return false;
  const QPersistentModelIndex place(parent);
  const bool stands = !updateRois || hxroi::canStandIn(*parentItem, *item);
  if (stands) {
    const RowChange change(*this);
    if (updateRois) hxroi::enterPlace(*parentItem, position, *item);
    insertRow(position, item, *parentItem);
  }
  Q_EMIT modelRowsInserted(place, position, position);
  tellOfLayout();
  return stands;
}

QxRoiTreeItem* QxRoiTreeModel::removeRoi(int position, const QModelIndex& parent, bool updateRois) {
  QxRoiTreeItem* parentItem = getItem(parent);
  const QxRoiTreeItem* item = parentItem ? parentItem->child(position) : nullptr;
  if (!item || (updateRois && !hxroi::canStandIn(*parentItem, *item))) return nullptr;
  const QPersistentModelIndex place(parent);
  QxRoiTreeItem* removed = nullptr;
  {
    const RowChange change(*this);
    if (updateRois) hxroi::leavePlace(*parentItem, *item);
    removed = removeRow(position, *parentItem);
  }
  Q_EMIT modelRowsRemoved(place, position, position);
  return removed;
}

bool QxRoiTreeModel::moveRoi(int from, int to, const QModelIndex& sourceParent, const QModelIndex& destinationParent,
                             bool updateRois) {
  QxRoiTreeItem* source = getItem(sourceParent);
  QxRoiTreeItem* destination = getItem(destinationParent);
  QxRoiTreeItem* item = source ? source->child(from) : nullptr;
  if (!item || !item->getRoi() || !destination) return false;
  if (updateRois && !(hxroi::canStandIn(*source, *item) && hxroi::canStandIn(*destination, *item))) return false;
  {
    const RowChange change(*this);
    if (updateRois) hxroi::changePlace(*source, from, *destination, to, *item);
    removeRow(from, *source);
    insertRow(to, item, *destination);
  }
  Q_EMIT modelRowMoved(from, to, indexFromTreeItem(source), indexFromTreeItem(destination));
  tellOfLayout();
  return true;
}

void QxRoiTreeModel::replaceRoi(const QModelIndex& index, Roi* newRoi) {
  const QPointer<QxRoiTreeItem> item = index.isValid() ? getItem(index) : nullptr;
  if (!item || !newRoi || item->getRoi() == newRoi) return;
  const QPointer<QxRoiTreeModel> self(this);
  {
    const RowChange change(*this);
    item->replaceRoi(newRoi);
    if (item->getRoi() != newRoi) return;  // it cannot stand there
    change.renewMembers(*item);
  }
  if (!self || !item) return;
  const QModelIndex place = indexFromTreeItem(item);
  Q_EMIT dataChanged(place.siblingAtColumn(QxRoiTreeItem::kNameColumn),
                     place.siblingAtColumn(QxRoiTreeItem::kColormapColumn));
}
