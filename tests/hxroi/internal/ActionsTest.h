#pragma once

#include <QTreeView>
#include <memory>

#include "hxroi/internal/QxRoiTreeViewActionSet.h"
#include "tests/hxroi/internal/TreeTest.h"

/// A tree in a view, with the commands on it.
class ActionsTest : public TreeTest {
protected:
  ~ActionsTest() override {
    actions.reset();
    view.reset();
  }

  void fillAndOpen(QxRoiTreeModel::RoiModule kind = QxRoiTreeModel::FULL_MODULE) {
    fillSet();
    open(kind);
  }

  void open(QxRoiTreeModel::RoiModule kind = QxRoiTreeModel::FULL_MODULE) {
    actions.reset();
    view.reset();
    showSet(kind);
    view = std::make_unique<QTreeView>();
    view->setModel(model.get());
    view->setSelectionBehavior(QAbstractItemView::SelectRows);
    view->setSelectionMode(QAbstractItemView::ExtendedSelection);
    view->expandAll();
    actions = std::make_unique<QxRoiTreeViewActionSet>(view.get());
    rois->fire(1);
  }

  /// Selects rows; the last one becomes current.
  void select(const std::vector<const char*>& names) {
    view->selectionModel()->clear();
    for (const char* name : names) {
      view->selectionModel()->setCurrentIndex(at(name), QItemSelectionModel::Select | QItemSelectionModel::Rows);
    }
  }

  /// What the user was shown.
  std::vector<std::string> errors() const {
    std::vector<std::string> texts;
    for (const QString& error : console.errors) texts.push_back(error.toStdString());
    return texts;
  }

  /// A mask of the set with a box of voxels.
  Mask* addFilled(const std::string& name, const McVec3i& origin, const McVec3i& size) {
    Mask* mask = addMask(name);
    fill(*mask, origin, size);
    return mask;
  }

  std::unique_ptr<QTreeView> view;
  std::unique_ptr<QxRoiTreeViewActionSet> actions;
};
