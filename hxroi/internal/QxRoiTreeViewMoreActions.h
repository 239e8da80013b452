#pragma once

#include <QList>
#include <QObject>
#include <QString>

#include "hxroi/export.h"

class QAction;
class QKeySequence;
class QxRoiTreeItem;
class QxRoiTreeModel;
class QxRoiTreeViewActionSet;

/// Commands for several rows at once, and the keys of all. Masks that make a new one go, as in a merge; the new one
/// takes the place of the current row, or else of the first one selected.
class HXROI_API QxRoiTreeViewMoreActions : public QObject {
  Q_OBJECT

public:
  /// A child of `actions`.
  explicit QxRoiTreeViewMoreActions(QxRoiTreeViewActionSet* actions);

  /// Enables those that can work on the selected rows.
  void enableForSelection();

  /// F2 renames, Delete deletes what is selected, Ctrl+A selects all rows, Ctrl+G groups the selected masks, or makes
  /// an empty group, Ctrl+Z puts back what the last command removed; in the view, while it has the focus. The keys need
  /// no menu, and do nothing where the menu would offer nothing.
  void addShortcuts();

  QAction* intersectAction;
  QAction* exclusiveOrAction;
  QAction* deleteRowsAction;
  QAction* editColorsAction;
  QAction* showOnlyAction;
  QAction* groupAction;
  QAction* bringBackAction;

public Q_SLOTS:
  /// The voxels that all selected masks share, or those in an odd number of them.
  void intersectSelectedRois();
  void exclusiveOrSelectedRois();
  void deleteSelectedRows();
  /// One colour, chosen once, for all that have one of their own.
  void editSelectedColors();
  /// Shows the selected ROIs and hides all others: here when the tree has check boxes, else in all selectors of the
  /// set.
  void showOnlySelectedRois();
  /// A new group of the selected masks, where the first of them stands, open and ready to be named.
  void groupSelectedRois();
  /// Puts back what the last command removed: deleted, merged, subtracted or split ROIs.
  void bringBackRemovedRois();

private:
  using Slot = void (QxRoiTreeViewMoreActions::*)();

  QAction* addAction(const QString& text, Slot slot);
  void addShortcut(const QKeySequence& keys, Slot slot);
  void renameByKey();
  void groupByKey();
  void selectAllRows();

  /// The nodes of the selected rows from the first row of the tree on, without masks whose group is selected too.
  QList<QxRoiTreeItem*> selectedItems() const;
  bool canEdit() const;
  /// Without check boxes there must be a selector to show it.
  bool canShowOnly() const;

  QxRoiTreeViewActionSet& actions_;
};
