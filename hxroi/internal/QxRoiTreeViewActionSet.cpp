#include "hxroi/internal/QxRoiTreeViewActionSet.h"

#include <QAction>
#include <QItemSelectionModel>
#include <QTreeView>
#include <memory>
#include <optional>
#include <utility>

#include "hxroi/HxRois.h"
#include "hxroi/HxRoisHelpers.h"
#include "hxroi/details/Group.h"
#include "hxroi/details/Mask.h"
#include "hxroi/internal/GoneRois.h"
#include "hxroi/internal/QxRoiTreeItem.h"
#include "hxroi/internal/QxRoiTreeModel.h"
#include "hxroi/internal/SetWatch.h"
#include "hxroi/internal/ShownMasks.h"
#include "hxroi/internal/commandFailures.h"
#include "hxroi/internal/holdSet.h"
#include "quarn/kernel/params/HxParamBundle.h"

using hxroi::details::Group;
using hxroi::details::Mask;
using hxroi::details::Roi;

QxRoiTreeViewActionSet::QxRoiTreeViewActionSet(QTreeView* view) : view_(view) {
  makeParamDialog();
  newMaskAction = addAction(tr("New ROI"), &QxRoiTreeViewActionSet::newMask);
  renameAction = addAction(tr("Rename"), &QxRoiTreeViewActionSet::renameSelectedRoi);
  insertMaskAction = addAction(tr("Insert ROI"), &QxRoiTreeViewActionSet::insertMask);
  deleteAction = addAction(tr("Delete"), &QxRoiTreeViewActionSet::deleteSelectedRoi);
  editColorAction = addAction(tr("Edit Color"), &QxRoiTreeViewActionSet::editSelectedRoiColor);
  editParametersAction = addAction(tr("Edit Parameters"), &QxRoiTreeViewActionSet::editSelectedRoiParameters);
  mergeAction = addAction(tr("Merge"), &QxRoiTreeViewActionSet::mergeSelectedRois);
  subtractAction = addAction(tr("Sub"), &QxRoiTreeViewActionSet::subtractSelectedRois);
  invertAction = addAction(tr("Invert ROIs"), &QxRoiTreeViewActionSet::invertSelectedRoi);
  splitAction = addAction(tr("Split ROI"), &QxRoiTreeViewActionSet::splitSelectedRois);
  newGroupAction = addAction(tr("New Group"), &QxRoiTreeViewActionSet::newGroup);
}

QxRoiTreeViewActionSet::~QxRoiTreeViewActionSet() {
  deleteParamDialog();
}

QAction* QxRoiTreeViewActionSet::addAction(const QString& text, void (QxRoiTreeViewActionSet::*slot)()) {
  auto* action = new QAction(text, this);
  connect(action, &QAction::triggered, this, slot);
  return action;
}

QTreeView* QxRoiTreeViewActionSet::view() const {
  return view_;
}

void QxRoiTreeViewActionSet::setView(QTreeView* view) {
  view_ = view;
}

QxRoiTreeModel* QxRoiTreeViewActionSet::model() const {
  auto* model = view_ ? qobject_cast<QxRoiTreeModel*>(view_->model()) : nullptr;
  return model && model->getRoot() ? model : nullptr;
}

QModelIndex QxRoiTreeViewActionSet::currentIndex() const {
  return view_ && view_->selectionModel() ? view_->selectionModel()->currentIndex() : QModelIndex();
}

QModelIndexList QxRoiTreeViewActionSet::selectedRows() const {
  return view_ && view_->selectionModel() ? view_->selectionModel()->selectedRows(0) : QModelIndexList();
}

void QxRoiTreeViewActionSet::run(const std::function<void(QxRoiTreeModel&)>& command) {
  QxRoiTreeModel* tree = model();
  if (!tree || isAtWork_) return;
  const QPointer<QxRoiTreeViewActionSet> self(this);
  const QPointer<QxRoiTreeModel> treeLife(tree);
  HxRois* rois = tree->getRoot()->getRois();
  const McHandle<HxRois> held = hxroi::holdSet(rois);
  std::optional<hxroi::ShownMasks> shown;
  std::optional<hxroi::GoneRois> removed;
  if (held) shown.emplace(*held), removed.emplace(*held);
  isAtWork_ = true;
  hxroi::showFailures([&] { command(*tree); });
  // What was changed reaches those that show the set.
  const QxRoiTreeItem* root = treeLife ? treeLife->getRoot() : nullptr;
  const bool isThere = held || (root && rois == root->getRois());
  if (rois && isThere && rois->isNew()) hxroi::showFailures([&] { rois->fire(1); });
  if (held) hxroi::showFailures([&] { shown->keepIn(*held); });
  if (self && held) noteRemoved(*held, *removed, *shown);
  if (self) isAtWork_ = false;
}

// --- What commands removed ----------------------------------------------------------------------------------------

/// Of a set that lives.
struct QxRoiTreeViewActionSet::Removed {
  Removed(HxRois& from, hxroi::GoneRois gone, hxroi::ShownMasks visible, QxRoiTreeViewActionSet* owner)
      : set(&from), rois(std::move(gone)), shown(std::move(visible)) {
    watch = new hxroi::SetWatch(from, [this, actions = QPointer(owner)] {
      watch = nullptr;
      if (actions && actions->removed_.get() == this) actions->removed_.reset();
    });
  }
  ~Removed() { hxroi::SetWatch::end(watch); }
  Removed(const Removed&) = delete;
  Removed& operator=(const Removed&) = delete;

  const HxRois* set;
  hxroi::GoneRois rois;
  hxroi::ShownMasks shown;
  hxroi::SetWatch* watch;
};

void QxRoiTreeViewActionSet::noteRemoved(HxRois& rois, hxroi::GoneRois& removed, const hxroi::ShownMasks& shown) {
  removed.keepGone(rois);
  if (!removed.isEmpty()) removed_ = std::make_shared<Removed>(rois, std::move(removed), shown.ofGone(rois), this);
}

bool QxRoiTreeViewActionSet::hasRemovedRois() const {
  const QxRoiTreeModel* tree = model();
  return removed_ && tree && tree->getRoot()->getRois() == removed_->set;
}

void QxRoiTreeViewActionSet::bringBackRemovedRois() {
  if (!hasRemovedRois() || isAtWork_) return;
  const std::shared_ptr<Removed> removed = removed_;
  const QPointer<QxRoiTreeViewActionSet> self(this);
  const McHandle<HxRois> rois = hxroi::holdSet(model()->getRoot()->getRois());
  run([removed](QxRoiTreeModel& tree) { removed->rois.bringBack(tree); });
  if (rois) hxroi::showFailures([&] { removed->shown.showAgainIn(*rois); });
  if (self && removed_ == removed && removed->rois.isEmpty()) removed_.reset();
}

// --- New ROIs -----------------------------------------------------------------------------------------------------

void QxRoiTreeViewActionSet::newMask() {
  run([this](QxRoiTreeModel& tree) {
    const QModelIndex current = currentIndex();
    insertNew(tree, current.row() + 1, makeMask(tree), current.parent());
  });
}

void QxRoiTreeViewActionSet::insertMask() {
  run([this](QxRoiTreeModel& tree) { insertNew(tree, 0, makeMask(tree), currentIndex()); });
}

void QxRoiTreeViewActionSet::newGroup() {
  run([this](QxRoiTreeModel& tree) {
    const QModelIndex current = currentIndex();
    const RoiHandle group(new Group(tree.getAvailableGroupName(), Roi::nextHtmlColor(), nullptr));
    insertNew(tree, current.row() + 1, group, current.parent());
  });
}

QxRoiTreeViewActionSet::RoiHandle QxRoiTreeViewActionSet::makeMask(const QxRoiTreeModel& tree) {
  const HxRois* rois = tree.getRoot()->getRois();
  if (!rois) return nullptr;
  return new Mask(tree.getAvailableMaskName(), rois->dimensions(), false, Roi::nextHtmlColor(), nullptr);
}

void QxRoiTreeViewActionSet::insertNew(QxRoiTreeModel& tree, int row, const RoiHandle& roi, const QModelIndex& parent) {
  const HxRois* rois = tree.getRoot()->getRois();
  if (!rois || !roi) return;
  HxRoisHelpers::setDefaultRoiColormapRange(rois, roi);
  const QxRoiTreeItem* item = tree.insertRoi(row, roi, parent, true);
  // It could not stand there.
  if (item && item->childNumber() < 0) delete item;
}

// --- The current ROI ----------------------------------------------------------------------------------------------

void QxRoiTreeViewActionSet::renameSelectedRoi() {
  const QModelIndex current = currentIndex();
  edit(current.row(), QxRoiTreeItem::kNameColumn, current.parent());
}

void QxRoiTreeViewActionSet::deleteSelectedRoi() {
  run([this](QxRoiTreeModel& tree) {
    const QModelIndex current = currentIndex();
    if (current.isValid()) delete tree.removeRoi(current.row(), current.parent(), true);
  });
}

void QxRoiTreeViewActionSet::edit(int row, int column, const QModelIndex& parent) {
  const QxRoiTreeModel* tree = isAtWork_ ? nullptr : model();
  const QModelIndex index = tree ? tree->index(row, column, parent) : QModelIndex();
  if (index.isValid()) view_->edit(index);
}

/// Masks in groups have no colour of their own, so the row is always one of the top level.
void QxRoiTreeViewActionSet::editSelectedRoiColor() {
  edit(currentIndex().row(), QxRoiTreeItem::kColorColumn, QModelIndex());
}

void QxRoiTreeViewActionSet::invertSelectedRoi() {
  run([this](QxRoiTreeModel& tree) {
    const QModelIndex current = currentIndex();
    if (!current.isValid()) return;
    auto* mask = dynamic_cast<Mask*>(tree.getItem(current)->getRoi());
    if (!mask) return;
    mask->negate();
    mask->flush(Mask::AllLevels);
  });
}
