#pragma once

#include <QString>

#include "hxroi/export.h"

class QMenu;
class QModelIndex;
class QTreeView;
class QxRoiTreeViewActionSet;
class QxRoiTreeViewMoreActions;

namespace hxroi {

/// What can be done with the selected rows of a ROI tree, told by enabling actions, and the menu of them.
class HXROI_API RoiTreeMenu {
public:
  /// Looks at the selection of `view`, whose model is a QxRoiTreeModel.
  explicit RoiTreeMenu(const QTreeView& view);

  int selectedRows() const { return count_; }

  /// Enables what fits the selection. The texts of "Merge" and "Sub" tell where the result goes: to the ROI `name`.
  void prepare(QxRoiTreeViewActionSet& actions, const QString& name) const;

  /// Adds the actions in their order.
  static void fill(QMenu& menu, QxRoiTreeViewActionSet& actions);
  static void fill(QMenu& menu, QxRoiTreeViewMoreActions& actions);

private:
  int count_ = 0;
  bool allMasks_ = true;
  bool isGroup_ = false;     ///< the only selected row is no mask
  bool isTopLevel_ = false;  ///< the only selected row is
};

}  // namespace hxroi
