#pragma once

#include <QList>
#include <QModelIndex>
#include <QPointer>
#include <vector>

#include "hxroi/internal/QxRoiTreeItem.h"
#include "quarn/base/McHandle.h"

class QxRoiTreeModel;

namespace hxroi::details {
class Mask;
}

namespace hxroi {

/// Lets new masks take the place of others, in tree and set. They enter before the others leave; in a full set, others
/// leave as far as there must be room, and come back when a new one is refused.
class RowReplacement {
public:
  using Masks = std::vector<McHandle<details::Mask>>;

  /// The new masks are inserted before the row of `target`.
  RowReplacement(QxRoiTreeModel& model, const QModelIndex& target);

  /// The mask of this row goes, in the order of these calls.
  void replace(const QModelIndex& index) { outgoing_.append(itemAt(index)); }

  /// Gives the masks free names and their places. False when one was refused, which the user was told: tree and set are
  /// as before then. McException when one of the others cannot leave.
  bool run(const Masks& masks);

private:
  using Item = QPointer<QxRoiTreeItem>;

  /// A node that was taken out of the tree.
  struct Removed {
    QxRoiTreeItem* item;
    Item parent;
    int row;
  };

  Item itemAt(const QModelIndex& index) const;
  void makeRoomFor(std::size_t count);
  Removed takeOut(QxRoiTreeItem& item);
  bool insert(const Masks& masks);
  void undo() noexcept;
  void remove(QxRoiTreeItem* item);

  QxRoiTreeModel& model_;
  Item parent_;
  int row_;
  QList<Item> outgoing_;
  QList<Item> inserted_;
  std::vector<Removed> takenOut_;
};

}  // namespace hxroi
