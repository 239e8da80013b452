#pragma once

#include <QItemSelection>
#include <QString>
#include <QStringList>

#include "hxroi/export.h"

class QMimeData;
class QxRoiTreeItem;
class QxRoiTreeModel;

namespace hxroi {

/// The type of what is dragged.
inline const QString kDraggedNamesType = QStringLiteral("application/vnd.text.list");

/// The caller owns the result.
HXROI_API QMimeData* draggedNames(const QStringList& names);

/// The names in `data`, as far as they can be read.
HXROI_API QStringList namesOf(const QMimeData& data);

/// Moves named ROIs one after the other into a node, to a row that counts with the ROIs that are still to be moved.
class RoiDrop {
public:
  RoiDrop(QxRoiTreeModel& model, QxRoiTreeItem& target, int row) : model_(model), target_(target), row_(row) {}

  /// Moves the ROI of that name; a name that nobody has is no failure. False for a group that is to go into a group.
  /// McException when the set refuses.
  bool add(const QString& name);

  /// The rows of what was moved.
  const QItemSelection& selection() const { return selection_; }

private:
  QxRoiTreeModel& model_;
  QxRoiTreeItem& target_;
  int row_;
  QItemSelection selection_;
};

}  // namespace hxroi
