#include <QPointer>

#include "hxroi/HxRois.h"
#include "hxroi/detail/InterruptWatch.h"
#include "hxroi/details/Mask.h"
#include "hxroi/internal/QxRoiTreeItem.h"
#include "hxroi/internal/QxRoiTreeModel.h"
#include "hxroi/internal/QxRoiTreeViewActionSet.h"
#include "hxroi/internal/RowReplacement.h"
#include "quarn/kernel/app/HxApplication.h"
#include "quarn/kernel/app/HxMessage.h"

using hxroi::RowReplacement;
using hxroi::details::Mask;

namespace {

/// Nothing when the user interrupted.
RowReplacement::Masks piecesOf(const Mask& mask, std::size_t atMost) {
  hxroi::InterruptWatch watch(*HxApplication::progress());
  RowReplacement::Masks pieces;
  pieces.reserve(HxRois::kMaximumNumberOfMasks + 1);  // so that nothing can fail between the split and the handles
  for (Mask* piece : mask.split(atMost, &watch)) pieces.emplace_back(piece);
  // Some of them may not be filled.
  if (watch.wasInterrupted()) pieces.clear();
  return pieces;
}

}  // namespace

void QxRoiTreeViewActionSet::splitSelectedRois() {
  run([this](QxRoiTreeModel& tree) { splitRoi(tree, currentIndex()); });
}

void QxRoiTreeViewActionSet::splitRoi(QxRoiTreeModel& tree, const QModelIndex& index) {
  const HxRois* rois = tree.getRoot()->getRois();
  if (!rois || !index.isValid()) return;
  constexpr std::size_t limit = HxRois::kMaximumNumberOfMasks;
  if (rois->getNumberOfMasks() >= limit) {
    HxMessage::error(tr("%1 has already reached the maximum number of allowed masks (%2). Cannot split.")
                         .arg(rois->getLabel(), QString::number(limit)));
    return;
  }
  const QPointer<QxRoiTreeModel> treeLife(&tree);
  const QPersistentModelIndex place(index);
  const McHandle<Mask> mask(dynamic_cast<Mask*>(tree.getItem(index)->getRoi()));
  if (!mask) return;
  const RowReplacement::Masks pieces = piecesOf(*mask, limit - rois->getNumberOfMasks());
  // The display of the progress runs events: anything may have happened meanwhile.
  const bool isThere = treeLife && place.isValid() && tree.getItem(place)->getRoi() == mask;
  if (pieces.empty() || !isThere) return;
  RowReplacement replacement(tree, place, RowReplacement::FullSet::Refuse);
  replacement.replace(place);
  replacement.run(pieces);
}
