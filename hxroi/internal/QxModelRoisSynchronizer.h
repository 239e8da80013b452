#pragma once

#include <QList>
#include <QPointer>
#include <cstdint>
#include <map>
#include <string>
#include <utility>

#include "hxroi/export.h"
#include "hxroi/internal/QxRoiTreeModel.h"
#include "quarn/base/McDArray.h"

class HxRois;
class QxRoiTreeItem;

namespace hxroi {
class SynchronizerRun;
}

namespace hxroi::details {
class Roi;
}

/// Brings the tree of a ROI set in line with the set after somebody else changed it. Rows are moved, inserted and
/// removed one by one, so that those of other ROIs keep their selection, expansion and check boxes. For the
/// user-interface thread.
class HXROI_API QxModelRoisSynchronizer {
public:
  /// Without a model.
  QxModelRoisSynchronizer() = default;
  /// Makes a model of its own for `rois`.
  explicit QxModelRoisSynchronizer(HxRois* rois);
  ~QxModelRoisSynchronizer();
  QxModelRoisSynchronizer(const QxModelRoisSynchronizer&) = delete;
  QxModelRoisSynchronizer& operator=(const QxModelRoisSynchronizer&) = delete;

  /// Takes another model, which is not owned and may be null or die, and synchronizes it.
  void setModel(QxRoiTreeModel* model);
  QxRoiTreeModel* getModel() const { return model_; }

  /// Does nothing without a model with root and set, nor while the model or a synchronization is at work.
  void synchronizeData();

  /// The first node in the list that shows `roi`, or null.
  QxRoiTreeItem* searchRoiInList(const hxroi::details::Roi* roi, QList<QxRoiTreeItem*> items) const;

private:
  friend class hxroi::SynchronizerRun;

  struct KnownRoi {
    std::string name;
    std::string id;  ///< tells a ROI from a later one at the same address
  };
  using KnownNames = std::map<const hxroi::details::Roi*, KnownRoi>;

  void clearResults();
  void updateStamps(const HxRois& rois);
  void moveStamps();

  QPointer<QxRoiTreeModel> model_;
  bool ownsModel_ = false;
  bool busy_ = false;
  KnownNames knownNames_;

public:
  /// What the last run found, by name.
  McDArray<std::string> removedNames;
  McDArray<std::string> insertedNames;
  McDArray<std::string> movedNames;
  /// Old and new name.
  McDArray<std::pair<std::string, std::string>> nameChanges;
  /// Those whose voxels have changed; a ROI counts from the run on that inserted it.
  McDArray<std::string> modifiedNames;

private:
  std::map<std::string, std::uint64_t> knownStamps_;
};
