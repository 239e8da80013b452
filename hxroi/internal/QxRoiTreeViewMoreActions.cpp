#include "hxroi/internal/QxRoiTreeViewMoreActions.h"

#include <QAction>
#include <QKeySequence>
#include <QPointer>
#include <QTreeView>
#include <algorithm>

#include "hxroi/HxRois.h"
#include "hxroi/internal/QxRoiTreeItem.h"
#include "hxroi/internal/QxRoiTreeModel.h"
#include "hxroi/internal/QxRoiTreeViewActionSet.h"
#include "hxroi/internal/SeveralRois.h"
#include "quarn/kernel/app/HxColorDialog.h"

using Items = QList<QxRoiTreeItem*>;

namespace {

bool areMasks(const Items& items) {
  return std::all_of(items.begin(), items.end(), [](const QxRoiTreeItem* item) { return item->isMask(); });
}

/// Members of groups show the colour of the group.
Items withColor(const Items& items) {
  Items colored;
  for (QxRoiTreeItem* item : items) {
    if (!item->parent()->isGroup()) colored.append(item);
  }
  return colored;
}

}  // namespace

QxRoiTreeViewMoreActions::QxRoiTreeViewMoreActions(QxRoiTreeViewActionSet* actions)
    : QObject(actions),
      intersectAction(addAction(tr("Intersect"), &QxRoiTreeViewMoreActions::intersectSelectedRois)),
      exclusiveOrAction(addAction(tr("Exclusive Or"), &QxRoiTreeViewMoreActions::exclusiveOrSelectedRois)),
      deleteRowsAction(addAction(tr("Delete ROIs\tDel"), &QxRoiTreeViewMoreActions::deleteSelectedRows)),
      editColorsAction(addAction(tr("Edit Colors"), &QxRoiTreeViewMoreActions::editSelectedColors)),
      showOnlyAction(addAction(tr("Show Only This"), &QxRoiTreeViewMoreActions::showOnlySelectedRois)),
      groupAction(addAction(tr("Group ROIs\tCtrl+G"), &QxRoiTreeViewMoreActions::groupSelectedRois)),
      bringBackAction(
          addAction(tr("Bring Back Removed ROIs\tCtrl+Z"), &QxRoiTreeViewMoreActions::bringBackRemovedRois)),
      actions_(*actions) {}

QAction* QxRoiTreeViewMoreActions::addAction(const QString& text, Slot slot) {
  auto* action = new QAction(text, this);
  connect(action, &QAction::triggered, this, slot);
  return action;
}

// --- When -----------------------------------------------------------------------------------------------------------

bool QxRoiTreeViewMoreActions::canEdit() const {
  const QxRoiTreeModel* model = actions_.model();
  return model && model->roiModule() != QxRoiTreeModel::SELECTOR_MODULE;
}

bool QxRoiTreeViewMoreActions::canShowOnly() const {
  const QxRoiTreeModel* model = actions_.model();
  if (!model || model->roiModule() != QxRoiTreeModel::ROIS_MODULE) return model != nullptr;
  const HxRois* rois = model->getRoot()->getRois();
  return rois && hxroi::hasSelectors(*rois);
}

Items QxRoiTreeViewMoreActions::selectedItems() const {
  const QxRoiTreeModel* model = actions_.model();
  return model ? hxroi::topmostItems(*model, actions_.selectedRows()) : Items();
}

void QxRoiTreeViewMoreActions::enableForSelection() {
  const Items items = selectedItems();
  const bool edits = canEdit() && !items.isEmpty();
  const bool combines = edits && items.size() > 1 && areMasks(items);
  intersectAction->setEnabled(combines);
  exclusiveOrAction->setEnabled(combines);
  deleteRowsAction->setEnabled(edits);
  // For one row the menu has them already.
  for (QAction* action : {deleteRowsAction, editColorsAction}) action->setVisible(actions_.selectedRows().size() != 1);
  editColorsAction->setEnabled(edits && !withColor(items).isEmpty());
  showOnlyAction->setEnabled(!items.isEmpty() && canShowOnly());
  groupAction->setEnabled(edits && areMasks(items));
  bringBackAction->setEnabled(canEdit() && actions_.hasRemovedRois());
}

// --- What -----------------------------------------------------------------------------------------------------------

void QxRoiTreeViewMoreActions::intersectSelectedRois() {
  if (!canEdit()) return;
  actions_.run([this](QxRoiTreeModel& model) {
    hxroi::combine(model, actions_.currentIndex(), selectedItems(), hxroi::Combination::Intersection);
  });
}

void QxRoiTreeViewMoreActions::exclusiveOrSelectedRois() {
  if (!canEdit()) return;
  actions_.run([this](QxRoiTreeModel& model) {
    hxroi::combine(model, actions_.currentIndex(), selectedItems(), hxroi::Combination::ExclusiveOr);
  });
}

void QxRoiTreeViewMoreActions::deleteSelectedRows() {
  if (!canEdit()) return;
  actions_.run([this](QxRoiTreeModel& model) { hxroi::removeItems(model, selectedItems()); });
}

void QxRoiTreeViewMoreActions::editSelectedColors() {
  if (!canEdit()) return;
  actions_.run([this](QxRoiTreeModel& model) {
    const Items items = withColor(selectedItems());
    if (items.isEmpty()) return;
    const QColor former = items.front()->getColor();
    const QPointer<QxRoiTreeViewMoreActions> self(this);
    const auto color = HxColorDialog::getColor(McColor(former.redF(), former.greenF(), former.blueF()), actions_.view(),
                                               tr("Color of ROIs"));
    // The dialog runs events: the rows may be others by now, or all may have gone.
    if (self && color && actions_.model() == &model) hxroi::recolor(model, withColor(selectedItems()), *color);
  });
}

void QxRoiTreeViewMoreActions::showOnlySelectedRois() {
  const QPointer<QxRoiTreeViewMoreActions> self(this);
  actions_.run([this](QxRoiTreeModel& model) {
    const HxRois* rois = model.getRoot()->getRois();
    if (model.roiModule() != QxRoiTreeModel::ROIS_MODULE) {
      hxroi::showOnly(model, selectedItems());
    } else if (rois) {
      hxroi::showOnlyInSelectors(*rois, selectedItems());
    }
  });
  // What was evaluated may have been the end of the view, or of all.
  if (self && actions_.view()) actions_.view()->viewport()->update();
}

void QxRoiTreeViewMoreActions::groupSelectedRois() {
  if (!canEdit()) return;
  const QPointer<QxRoiTreeViewMoreActions> self(this);
  QPersistentModelIndex group;
  actions_.run([&](QxRoiTreeModel& model) {
    const Items items = selectedItems();
    if (items.isEmpty() || !areMasks(items)) return;
    const QPointer<QxRoiTreeItem> item = hxroi::group(model, items);
    if (!self || !item) return;
    group = model.indexFromTreeItem(item);
    if (!group.isValid() || !actions_.view()) return;
    actions_.view()->selectionModel()->setCurrentIndex(group,
                                                       QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
  });
  if (!self || !group.isValid() || !actions_.view() || actions_.model() != group.model()) return;
  actions_.view()->expand(group);
  if (actions_.view()->isVisible()) actions_.renameSelectedRoi();
}

void QxRoiTreeViewMoreActions::bringBackRemovedRois() {
  if (canEdit()) actions_.bringBackRemovedRois();
}

// --- Keys -----------------------------------------------------------------------------------------------------------

void QxRoiTreeViewMoreActions::addShortcuts() {
  addShortcut(QKeySequence(Qt::Key_F2), &QxRoiTreeViewMoreActions::renameByKey);
  addShortcut(QKeySequence(Qt::Key_Delete), &QxRoiTreeViewMoreActions::deleteSelectedRows);
  addShortcut(QKeySequence(Qt::CTRL | Qt::Key_A), &QxRoiTreeViewMoreActions::selectAllRows);
  addShortcut(QKeySequence(Qt::CTRL | Qt::Key_G), &QxRoiTreeViewMoreActions::groupByKey);
  addShortcut(QKeySequence::Undo, &QxRoiTreeViewMoreActions::bringBackRemovedRois);
}

void QxRoiTreeViewMoreActions::addShortcut(const QKeySequence& keys, Slot slot) {
  if (!actions_.view()) return;
  auto* action = new QAction(actions_.view());
  action->setShortcut(keys);
  action->setShortcutContext(Qt::WidgetShortcut);
  connect(action, &QAction::triggered, this, slot);
  actions_.view()->addAction(action);
}

void QxRoiTreeViewMoreActions::renameByKey() {
  const QModelIndexList rows = actions_.selectedRows();
  const bool isCurrent = rows.size() == 1 && rows.front() == actions_.currentIndex().siblingAtColumn(0);
  if (canEdit() && isCurrent) actions_.renameSelectedRoi();
}

/// Where nothing is selected that could go into it, the new group is empty.
void QxRoiTreeViewMoreActions::groupByKey() {
  if (!canEdit()) return;
  const Items items = selectedItems();
  const bool isOneGroup = items.size() == 1 && items.front()->isGroup();
  if (items.isEmpty() || isOneGroup) return actions_.newGroup();
  groupSelectedRois();
}

/// Members of collapsed groups, too.
void QxRoiTreeViewMoreActions::selectAllRows() {
  const QxRoiTreeModel* model = actions_.model();
  if (!model) return;
  QItemSelection all;
  const auto addRows = [&](const QModelIndex& parent) {
    const int count = model->rowCount(parent);
    if (count > 0) all.select(model->index(0, 0, parent), model->index(count - 1, 0, parent));
  };
  addRows({});
  for (int row = 0; row < model->rowCount(); ++row) addRows(model->index(row, 0));
  actions_.view()->selectionModel()->select(all, QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
}
