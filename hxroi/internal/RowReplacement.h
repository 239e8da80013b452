#pragma once

#include <QList>
#include <QModelIndex>
#include <QPointer>
#include <memory>
#include <vector>

#include "hxroi/details/ColormapReference.h"
#include "hxroi/internal/QxRoiTreeItem.h"
#include "quarn/base/McHandle.h"

class QxRoiTreeModel;

namespace hxroi::details {
class Mask;
}

namespace hxroi {

/// Lets new masks take the place of others, in tree and set. They enter before the others leave.
class RowReplacement {
public:
  using Masks = std::vector<McHandle<details::Mask>>;

  /// What becomes of the others when the set has no place left for the new ones.
  enum class FullSet {
    MakeRoom,  ///< they leave before, as far as they must, and come back when a new one is refused
    Refuse     ///< they stay until all new ones are in
  };

  /// The new masks are inserted before the row of `target`.
  RowReplacement(QxRoiTreeModel& model, const QModelIndex& target, FullSet fullSet = FullSet::MakeRoom);

  /// The mask of this row goes, in the order of these calls.
  void replace(const QModelIndex& index) { outgoing_.append(itemAt(index)); }

  /// Gives the masks free names and their places. False when one was refused, which the user was told: tree and set are
  /// as before then. McException when one of the others cannot leave.
  bool run(const Masks& masks);

private:
  using Item = QPointer<QxRoiTreeItem>;

  /// A node that was taken out of the tree, and what its ROI lost when it left the set.
  struct Removed {
    std::unique_ptr<QxRoiTreeItem> item;
    Item parent;
    int row;
    details::ColormapReference colormap;
  };

  Item itemAt(const QModelIndex& index) const;
  void makeRoomFor(std::size_t count);
  Removed takeOut(QxRoiTreeItem& item);
  bool insert(const Masks& masks);
  void undo() noexcept;
  void putBack(Removed& removed);
  void remove(QxRoiTreeItem* item);

  QxRoiTreeModel& model_;
  Item parent_;
  int row_;
  const FullSet fullSet_;
  QList<Item> outgoing_;
  QList<Item> inserted_;
  std::vector<Removed> takenOut_;
};

}  // namespace hxroi
