#pragma once

#include <QList>
#include <QModelIndex>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>
#include <functional>
#include <memory>
#include <set>
#include <vector>

#include "hxroi/export.h"
#include "quarn/base/McHandle.h"

class HxParamBase;
class HxParamBundle;
class HxRois;
class QAction;
class QTreeView;
class QxParamDialog;
class QxRoiTreeItem;
class QxRoiTreeModel;

namespace hxroi {
class GoneRois;
class ShownMasks;
}  // namespace hxroi

namespace hxroi::details {
class Mask;
class Roi;
}  // namespace hxroi::details

/// The commands of the tree of a ROI set. They work on the current index and the selected rows of a view whose model is
/// a QxRoiTreeModel, and change tree and set together; without a usable index they do nothing. Which of them can be
/// chosen is decided by whoever shows them.
///
/// Results enter the set before what they replace leaves it, and a refusal or an interruption leaves everything as it
/// was. Failures of slots are shown. A command that is asked for while another one is at work does nothing, but
/// parameters are written at any time, to the ROIs that the dialog was opened for and their sets.
class HXROI_API QxRoiTreeViewActionSet : public QObject {
  Q_OBJECT

public:
  /// `view` is not owned.
  explicit QxRoiTreeViewActionSet(QTreeView* view);
  ~QxRoiTreeViewActionSet() override;

  QTreeView* view() const;
  /// Goes on with another view, which is not owned; an open dialog stays as it is.
  void setView(QTreeView* view);
  /// Null once somebody has destroyed it.
  QxParamDialog* paramDialog() const;

  // --- For further commands on the same view

  /// Null for a view with another model or without a tree.
  QxRoiTreeModel* model() const;
  QModelIndex currentIndex() const;
  /// Column 0.
  QModelIndexList selectedRows() const;

  /// Runs a command, unless one is at work already, shows why it failed, and has the set evaluated if it was touched.
  /// What selectors show stays visible, also in another place or as another mask.
  void run(const std::function<void(QxRoiTreeModel&)>& command);

  /// Whether the last command that took ROIs out of the set that is shown left some to be had again.
  bool hasRemovedRois() const;
  /// Puts them back, as they were.
  void bringBackRemovedRois();

  // --- The commands of the slots for given rows. Failures are McException.

  /// Puts the union of the target and the sources, at least two, in the place of the target; the sources go. Sources
  /// are told apart by their rows alone.
  void mergeRois(const QModelIndex& target, const QList<QModelIndex>& sources);
  void mergeRois(const QString& target, const QStringList& sources);

  /// Puts the target without the voxels of the other source in the place of the target; both go. There are two sources,
  /// one of which may be the target.
  void subtractRois(const QModelIndex& target, const QList<QModelIndex>& sources);
  void subtractRois(const QString& target, const QString& source);

  // --- Parameters of several ROIs at once

  /// The parameters of the one selected ROI, or a copy with those of all, which the action set owns until the next
  /// call.
  HxParamBundle* bundleFromSelection();

  /// Writes the parameters to the selected ROIs when there are several, and evaluates the set.
  void bundleToSelection(const HxParamBundle* bundle);

  /// Adds `parameter`, or the members of a bundle, to `copy`. A value that differs from the one in `copy` marks that as
  /// having several.
  static void insertParamIntoCopy(HxParamBundle& copy, const HxParamBase& parameter);

  /// Sets or clears the mark for a parameter and all members.
  static void setParamBundleMultiValues(HxParamBase& parameter, bool on);

public Q_SLOTS:
  void newMask();
  void renameSelectedRoi();
  void insertMask();
  void deleteSelectedRoi();
  void editSelectedRoiColor();
  void editSelectedRoiParameters();
  void parametersChanged();
  void mergeSelectedRois();
  void subtractSelectedRois();
  void invertSelectedRoi();
  void splitSelectedRois();
  void newGroup();

private:
  using RoiHandle = McHandle<hxroi::details::Roi>;

  QAction* addAction(const QString& text, void (QxRoiTreeViewActionSet::*slot)());
  void makeParamDialog();
  void deleteParamDialog();
  void forgetParameters();

  static RoiHandle makeMask(const QxRoiTreeModel& tree);
  static void insertNew(QxRoiTreeModel& tree, int row, const RoiHandle& roi, const QModelIndex& parent);
  void edit(int row, int column, const QModelIndex& parent);
  void splitRoi(QxRoiTreeModel& tree, const QModelIndex& index);

  std::vector<RoiHandle> selectedRois() const;
  void writeParameters(const std::vector<RoiHandle>& rois, const HxParamBundle* bundle);
  void evaluate(std::set<HxRois*> sets, HxRois* shown);
  void noteRemoved(HxRois& rois, hxroi::GoneRois& removed, const hxroi::ShownMasks& shown);

  QPointer<QTreeView> view_;
  QPointer<QxParamDialog> paramDialog_;

public:
  QAction* newMaskAction;
  QAction* renameAction;
  QAction* insertMaskAction;
  QAction* deleteAction;
  QAction* editColorAction;
  QAction* editParametersAction;
  QAction* mergeAction;
  QAction* subtractAction;
  QAction* invertAction;
  QAction* splitAction;
  QAction* newGroupAction;

private:
  struct Removed;
  std::shared_ptr<Removed> removed_;      ///< by the last command that removed ROIs
  std::unique_ptr<HxParamBundle> copy_;   ///< what bundleFromSelection() gave
  std::unique_ptr<HxParamBundle> shown_;  ///< the copy that the dialog shows
  std::vector<RoiHandle> edited_;         ///< those whose parameters the dialog shows
  bool isAtWork_ = false;
};
