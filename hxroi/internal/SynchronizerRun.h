#pragma once

#include <QList>

#include "hxroi/internal/QxModelRoisSynchronizer.h"

namespace hxroi {

namespace details {
class Group;
}

/// One synchronization of a tree with its set.
class SynchronizerRun {
public:
  using KnownNames = QxModelRoisSynchronizer::KnownNames;

  /// `results` gets the names of what is found.
  SynchronizerRun(QxModelRoisSynchronizer& results, QxRoiTreeModel& model, const HxRois& rois, KnownNames formerNames)
      : results_(results), model_(model), rois_(rois), formerNames_(std::move(formerNames)) {}
  ~SynchronizerRun();
  SynchronizerRun(const SynchronizerRun&) = delete;
  SynchronizerRun& operator=(const SynchronizerRun&) = delete;

  /// Takes out the nodes of ROIs that have left the set. Masks whose group has left without them are kept apart.
  void removeDeparted();

  /// Gives every ROI of the set its node at its place, and returns the names of all.
  KnownNames placeAll();

private:
  void nameDeparted();
  void findDeparted();
  void placeMembers(details::Group& group);
  void place(int row, details::Roi& roi, QxRoiTreeItem& parent);
  void checkName(const details::Roi& roi);

  QxModelRoisSynchronizer& results_;
  QxRoiTreeModel& model_;
  const HxRois& rois_;
  KnownNames formerNames_;
  KnownNames names_;
  QList<QxRoiTreeItem*> departed_;  ///< masks before their group
  QList<QxRoiTreeItem*> detached_;
};

}  // namespace hxroi
