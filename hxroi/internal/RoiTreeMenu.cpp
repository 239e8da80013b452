#include "hxroi/internal/RoiTreeMenu.h"

#include <QAction>
#include <QCoreApplication>
#include <QItemSelectionModel>
#include <QMenu>
#include <QTreeView>

#include "hxroi/internal/QxRoiTreeModel.h"
#include "hxroi/internal/QxRoiTreeViewActionSet.h"
#include "hxroi/internal/QxRoiTreeViewMoreActions.h"

namespace hxroi {

namespace {

/// The context has the name that the catalogues know it by.
QString tr(const char* text) {
  return QCoreApplication::translate("HxPortTreeView", text);
}

}  // namespace

RoiTreeMenu::RoiTreeMenu(const QTreeView& view) {
  const auto* model = qobject_cast<const QxRoiTreeModel*>(view.model());
  if (!model || !view.selectionModel()) return;
  const QModelIndexList rows = view.selectionModel()->selectedRows(0);
  count_ = static_cast<int>(rows.size());
  for (const QModelIndex& row : rows) allMasks_ = allMasks_ && model->isRoiMask(row);
  if (count_ != 1) return;
  isGroup_ = !model->isRoiMask(rows.front());
  isTopLevel_ = !rows.front().parent().isValid();
}

void RoiTreeMenu::prepare(QxRoiTreeViewActionSet& actions, const QString& name) const {
  const bool one = count_ == 1;
  actions.newMaskAction->setEnabled(one);
  actions.renameAction->setEnabled(one);
  actions.insertMaskAction->setEnabled(one && isGroup_);
  actions.deleteAction->setEnabled(one);
  actions.editColorAction->setEnabled(one);
  actions.editParametersAction->setEnabled(count_ >= 1);
  actions.mergeAction->setEnabled(count_ >= 2 && allMasks_);
  actions.subtractAction->setEnabled(count_ == 2 && allMasks_);
  actions.invertAction->setEnabled(one && allMasks_);
  actions.splitAction->setEnabled(one && allMasks_);
  actions.newGroupAction->setEnabled(one && isTopLevel_);
  actions.mergeAction->setText(count_ > 1 ? tr("Merge") + tr(" To ROI ") + name : tr("Merge"));
  actions.subtractAction->setText(count_ == 2 ? tr("Sub") + tr(" From ROI ") + name : tr("Sub"));
}

void RoiTreeMenu::fill(QMenu& menu, QxRoiTreeViewActionSet& actions) {
  menu.addActions({actions.newMaskAction, actions.renameAction, actions.insertMaskAction, actions.deleteAction,
                   actions.editColorAction, actions.editParametersAction});
  menu.addSeparator();
  menu.addActions({actions.mergeAction, actions.subtractAction, actions.invertAction, actions.splitAction});
  menu.addSeparator();
  menu.addAction(actions.newGroupAction);
}

void RoiTreeMenu::fill(QMenu& menu, QxRoiTreeViewMoreActions& actions) {
  menu.addActions({actions.intersectAction, actions.exclusiveOrAction});
  menu.addSeparator();
  menu.addActions({actions.deleteRowsAction, actions.editColorsAction, actions.groupAction});
  menu.addSeparator();
  menu.addActions({actions.showOnlyAction, actions.bringBackAction});
}

}  // namespace hxroi
