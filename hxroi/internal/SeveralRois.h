#pragma once

#include <QList>
#include <QModelIndex>

#include "quarn/base/McColor.h"

class HxRois;
class QxRoiTreeItem;
class QxRoiTreeModel;

/// Edits of several rows of a tree of ROIs. Failures are McException.
namespace hxroi {

/// The nodes of `rows` from the first row of the tree on, without masks whose group is among them.
QList<QxRoiTreeItem*> topmostItems(const QxRoiTreeModel& model, const QModelIndexList& rows);

enum class Combination { Intersection, ExclusiveOr };

/// Puts a new mask in the place of the masks: at `current` when that is one of them, else at the first one. Does
/// nothing for fewer than two.
void combine(QxRoiTreeModel& model, const QModelIndex& current, const QList<QxRoiTreeItem*>& items,
             Combination combination);

void removeItems(QxRoiTreeModel& model, const QList<QxRoiTreeItem*>& items);

/// One change of data is told for all.
void recolor(QxRoiTreeModel& model, const QList<QxRoiTreeItem*>& items, const McColor& color);

/// Shows the ROIs, with their groups or masks, and hides all others. One change of data is told for all.
void showOnly(QxRoiTreeModel& model, const QList<QxRoiTreeItem*>& items);

/// The same in the trees of all selectors that are connected to the set, which are evaluated.
void showOnlyInSelectors(const HxRois& rois, const QList<QxRoiTreeItem*>& items);

/// Whether any is connected.
bool hasSelectors(const HxRois& rois);

/// Moves the masks into a new group, which stands where the first of them stood, or its group. Null when the group is
/// refused, which the user was told; then nothing has changed.
QxRoiTreeItem* group(QxRoiTreeModel& model, const QList<QxRoiTreeItem*>& items);

}  // namespace hxroi
