#pragma once

#include <QString>

#include "hxroi/export.h"
#include "quarn/base/McDArray.h"
#include "quarn/base/McTypedClass.h"
#include "quarn/kernel/ports/HxPort.h"
#include "quarn/kernel/widgets/QxGuardedPtr.h"

class HxEditor;
class HxObject;
class HxRois;
class QItemSelection;
class QItemSelectionModel;
class QModelIndex;
class QPoint;
class QxModelRoisSynchronizer;
class QxPortRoiTreeViewNotifier;
class QxRoiTreeModel;
class QxRoiTreeView;
class QxRoiTreeViewActionSet;
class QxRoiTreeViewMoreActions;

namespace hxroi {
class SetWatch;
}

namespace hxroi::details {
class Roi;
}

/// A port that shows a ROI set as a tree: to edit it, or to choose by check boxes which of its ROIs are visible.
///
/// What is visible belongs to the port, is known without a widget, and is saved with networks; what is selected belongs
/// to the widget. The set is not owned; when it dies the tree is empty.
///
/// Marks: 128 when a colour was edited in the tree, 512 when the selection changed, 1024 when a name was edited or the
/// visibility of a ROI set, 1536 when another model was installed. Edits in the tree have the owner evaluated, calls
/// and script commands only mark.
class HXROI_API HxPortRoiTreeView : public HxPort {
public:
  MC_CLASS_DECL(HxPortRoiTreeView)

  /// As QxRoiTreeModel::RoiModule.
  enum RoiModule {
    ROIS_MODULE = 1,      ///< the tree of a set: edited, with a menu and drag and drop
    SELECTOR_MODULE = 2,  ///< the tree of a selector: check boxes, saved with networks, script commands
    FULL_MODULE = 3       ///< names, colours and check boxes
  };

  HxPortRoiTreeView(HxEditor* owner, const QString& name, const QString& label, RoiModule module);
  HxPortRoiTreeView(HxObject* owner, const QString& name, const QString& label, RoiModule module);
  ~HxPortRoiTreeView() override;

  /// New ports of the kind ROIS_MODULE; they belong to the caller.
  static HxPortRoiTreeView* createInstanceWithEditor(HxEditor* owner, const QString& name, const QString& label);
  static HxPortRoiTreeView* createInstanceWithObject(HxObject* owner, const QString& name, const QString& label);

  /// The choice of visible ROIs, "visibility ID 0|1 ..."; of selectors only, others leave `state` alone.
  void getState(QString& state) const override;
  /// Takes pairs of a name or identifier and a number; ROIs that are not named become invisible. Anything that does not
  /// begin with "visibility" is ignored. Always true.
  bool setState(const QString& state) override;
  /// Commands of selectors besides those of every port: setRoiVisible NAME_OR_ID 0|1, isRoiVisible NAME_OR_ID.
  int parse(Tcl_Interp* interp, int argc, char** argv) override;
  /// A tree view, "tree".
  void createWidget(QWidget* parent) override;

  // --- The set

  /// Shows `rois` from now on, all of it visible; null for none.
  void setHxRois(HxRois* rois);
  /// Null when there is none or it has gone.
  HxRois* getHxRois() const { return rois_; }
  /// Brings the tree in line with the set after a change. ROIs that are new in the set start invisible.
  void updateHxRois();

  /// Shows the set in another model, which is not owned.
  void setModel(QxRoiTreeModel* model);
  /// Null once a model that is not owned has gone.
  QxRoiTreeModel* getModel() const;
  /// Builds the tree anew.
  void updateModel();

  // --- Selected and visible ROIs. Unknown names are ignored, and neither selected nor visible.

  /// In the order of their selection; empty without widget.
  McDArray<hxroi::details::Roi*> getSelectedRois() const;
  void setRoiSelected(bool select, const QString& name);
  bool isRoiSelected(const QString& name) const;

  void setRoiVisible(bool visible, const QString& nameOrId);
  /// A mask in an invisible group is invisible.
  bool isRoiVisible(const QString& nameOrId) const;
  void setAllRoisVisible(bool visible);

  // --- The widget

  /// Null without widget.
  QxRoiTreeView* view() const;
  /// Null before the first widget; it outlives its view.
  QxRoiTreeViewActionSet* actionSet() const;
  QxRoiTreeViewMoreActions* moreActions() const;
  /// Shows what has changed in ROIs that stay in their places.
  void repaint();
  /// Pixels; also of widgets made later.
  void setMinimumHeight(int height);

  /// Runs the menu for the selected rows and the row under the mouse, if there are such.
  void treeContextMenu();
  void customContextMenuRequested(const QPoint& position);
  /// The view has changed data or selection.
  void dataChanged(const QModelIndex& topLeft, const QModelIndex& bottomRight);
  void selectionChanged(const QItemSelection& selected, const QItemSelection& deselected);

private:
  void commonInit(RoiModule module);
  void watch(HxRois* rois);
  int parseSetRoiVisible(int argc, char** argv);
  int parseIsRoiVisible(Tcl_Interp* interp, int argc, char** argv);

  void setUpView();
  void runMenu(const QPoint& globalPosition);
  void showModel();
  void connectModel();
  QItemSelectionModel* selectionModel() const;
  QModelIndex indexOf(const QString& name) const;

  QxGuardedPtr<QxRoiTreeView> view_;
  QxPortRoiTreeViewNotifier* notifier_;
  QxGuardedPtr<QxRoiTreeModel> model_;
  HxRois* rois_ = nullptr;
  hxroi::SetWatch* watch_ = nullptr;  ///< belongs to the set
  RoiModule roiModule_;
  bool ownsModel_;
  QxGuardedPtr<QxRoiTreeViewActionSet> actionSet_;
  QxGuardedPtr<QxRoiTreeViewMoreActions> moreActions_;  ///< a child of the action set
  QxModelRoisSynchronizer* synchronizer_;
  int minimumHeight_ = 0;
};
