#include <QCursor>
#include <QHeaderView>
#include <QLabel>
#include <QMenu>

#include "hxroi/HxPortRoiTreeView.h"
#include "hxroi/details/Roi.h"
#include "hxroi/internal/QxPortRoiTreeViewNotifier.h"
#include "hxroi/internal/QxRoiTreeItem.h"
#include "hxroi/internal/QxRoiTreeItemDelegate.h"
#include "hxroi/internal/QxRoiTreeModel.h"
#include "hxroi/internal/QxRoiTreeView.h"
#include "hxroi/internal/QxRoiTreeViewActionSet.h"
#include "hxroi/internal/QxRoiTreeViewMoreActions.h"
#include "hxroi/internal/RoiTreeMenu.h"

/// \file
/// How a tree port looks, and what the user does to it.

using hxroi::RoiTreeMenu;
using hxroi::details::Roi;

namespace {

constexpr unsigned int kColor = 128;
constexpr unsigned int kSelection = 512;
constexpr unsigned int kNameOrVisibility = 1024;
constexpr int kUsualHeight = 160;

/// A view that waits for its deletion tells nobody any more.
void retire(QTreeView& view, const QObject& listener) {
  view.disconnect(&listener);
  if (view.selectionModel()) view.selectionModel()->disconnect(&listener);
}

}  // namespace

void HxPortRoiTreeView::createWidget(QWidget* parent) {
  if (view_) retire(*view_, *notifier_);
  HxPort::createWidget(parent);
  view_ = new QxRoiTreeView(frame());
  view_->setObjectName("tree");
  if (actionSet_) {
    actionSet_->setView(view_);  // its dialog may be open
  } else {
    actionSet_ = new QxRoiTreeViewActionSet(view_);
    moreActions_ = new QxRoiTreeViewMoreActions(actionSet_);
  }
  view_->setItemDelegate(new QxRoiTreeItemDelegate(view_));
  setUpView();
  if (model_ && model_->getRoot()) {
    showModel();
    QHeaderView* header = view_->header();
    header->setStretchLastSection(true);
    header->setSectionResizeMode(0, QHeaderView::Interactive);
    view_->resizeColumnToContents(0);
  }
  // Below its label the tree has the whole width.
  layout()->setDirection(QBoxLayout::TopToBottom);
  layout()->addWidget(view_, 1);
  frame()->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Expanding);
}

void HxPortRoiTreeView::setUpView() {
  view_->setSelectionBehavior(QAbstractItemView::SelectRows);
  view_->setSelectionMode(QAbstractItemView::ExtendedSelection);
  view_->setUniformRowHeights(true);
  view_->setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
  view_->setAnimated(true);
  view_->setMinimumHeight(minimumHeight_ > 0 ? minimumHeight_ : kUsualHeight);
  QObject::connect(view_, &QTreeView::expanded, view_, [tree = view_.data()] { tree->resizeColumnToContents(0); });
  if (roiModule_ != ROIS_MODULE) return;
  view_->setContextMenuPolicy(Qt::CustomContextMenu);
  view_->setDragEnabled(true);
  view_->setDragDropMode(QAbstractItemView::InternalMove);
  QObject::connect(view_, &QWidget::customContextMenuRequested, notifier_,
                   &QxPortRoiTreeViewNotifier::customContextMenuRequested);
  moreActions_->addShortcuts();
}

/// The view as it is after a model was built.
void HxPortRoiTreeView::showModel() {
  QItemSelectionModel* former = view_->selectionModel();
  view_->setModel(model_);
  if (former && former != view_->selectionModel()) former->deleteLater();
  QHeaderView* header = view_->header();
  header->setDefaultAlignment(Qt::AlignLeft);
  header->setSectionResizeMode(QHeaderView::ResizeToContents);
  header->setStretchLastSection(false);
  if (header->count() > 0) header->setSectionResizeMode(0, QHeaderView::Stretch);
  if (model_) connectModel();
}

/// Once each, however often the same model is shown.
void HxPortRoiTreeView::connectModel() {
  QItemSelectionModel* selection = view_->selectionModel();
  QObject::connect(
      model_.data(), &QxRoiTreeModel::updateCurrentIndex, selection,
      qOverload<const QModelIndex&, QItemSelectionModel::SelectionFlags>(&QItemSelectionModel::setCurrentIndex),
      Qt::UniqueConnection);
  QObject::connect(model_.data(), &QxRoiTreeModel::updateSelection, selection,
                   qOverload<const QItemSelection&, QItemSelectionModel::SelectionFlags>(&QItemSelectionModel::select),
                   Qt::UniqueConnection);
  QObject::connect(view_.data(), &QxRoiTreeView::viewDataChanged, notifier_, &QxPortRoiTreeViewNotifier::dataChanged,
                   Qt::UniqueConnection);
  QObject::connect(selection, &QItemSelectionModel::selectionChanged, notifier_,
                   &QxPortRoiTreeViewNotifier::selectionChanged, Qt::UniqueConnection);
}

QxRoiTreeView* HxPortRoiTreeView::view() const {
  return view_;
}

QxRoiTreeViewActionSet* HxPortRoiTreeView::actionSet() const {
  return actionSet_;
}

QxRoiTreeViewMoreActions* HxPortRoiTreeView::moreActions() const {
  return moreActions_;
}

void HxPortRoiTreeView::setMinimumHeight(int height) {
  minimumHeight_ = height;
  if (view_) view_->setMinimumHeight(height);
}

/// Visibility changes without a word of the model.
void HxPortRoiTreeView::repaint() {
  if (view_) view_->viewport()->update();
}

// --- Selection ----------------------------------------------------------------------------------------------------

QItemSelectionModel* HxPortRoiTreeView::selectionModel() const {
  return view_ ? view_->selectionModel() : nullptr;
}

QModelIndex HxPortRoiTreeView::indexOf(const QString& name) const {
  return model_ ? model_->indexFromTreeItem(model_->treeItemFromName(name)) : QModelIndex();
}

McDArray<Roi*> HxPortRoiTreeView::getSelectedRois() const {
  McDArray<Roi*> rois;
  const QItemSelectionModel* selection = selectionModel();
  if (!selection || !model_) return rois;
  for (const QModelIndex& row : selection->selectedRows(0))
    if (Roi* roi = model_->getItem(row)->getRoi()) rois.append(roi);
  return rois;
}

void HxPortRoiTreeView::setRoiSelected(bool select, const QString& name) {
  QItemSelectionModel* selection = selectionModel();
  const QModelIndex index = indexOf(name);
  if (!selection || !index.isValid()) return;
  const auto command = select ? QItemSelectionModel::Select : QItemSelectionModel::Deselect;
  selection->select(index, command | QItemSelectionModel::Rows);
}

bool HxPortRoiTreeView::isRoiSelected(const QString& name) const {
  const QItemSelectionModel* selection = selectionModel();
  const QModelIndex index = indexOf(name);
  return selection && index.isValid() && selection->isSelected(index);
}

// --- What the user does -------------------------------------------------------------------------------------------

void HxPortRoiTreeView::selectionChanged(const QItemSelection&, const QItemSelection&) {
  act([this] { touch(kSelection); });
}

void HxPortRoiTreeView::dataChanged(const QModelIndex& topLeft, const QModelIndex& bottomRight) {
  if (topLeft != bottomRight) return;
  if (topLeft.column() == QxRoiTreeItem::kNameColumn) {
    act([this] { touch(kNameOrVisibility); });
  } else if (topLeft.column() == QxRoiTreeItem::kColorColumn) {
    act([this] { touch(kColor); });
  }
}

/// Asked for by a key, the menu is that of the current row, wherever the mouse is: that row is what its commands use.
void HxPortRoiTreeView::customContextMenuRequested(const QPoint& position) {
  if (view_) runMenu(view_->viewport()->mapToGlobal(position));
}

void HxPortRoiTreeView::treeContextMenu() {
  runMenu(QCursor::pos());
}

/// View, set and port may go while the menu is open, and the menu with them.
void HxPortRoiTreeView::runMenu(const QPoint& globalPosition) {
  if (roiModule_ != ROIS_MODULE || !model_ || !selectionModel() || !selectionModel()->hasSelection() || !actionSet_)
    return;
  const QModelIndex place = view_->indexAt(view_->viewport()->mapFromGlobal(globalPosition));
  if (!place.isValid()) return;
  RoiTreeMenu(*view_).prepare(*actionSet_, model_->getItem(place)->getName());
  moreActions_->enableForSelection();
  const QxGuardedPtr<QMenu> menu = new QMenu(view_);
  RoiTreeMenu::fill(*menu, *actionSet_);
  menu->addSeparator();
  RoiTreeMenu::fill(*menu, *moreActions_);
  menu->exec(globalPosition);
  delete menu;
}
