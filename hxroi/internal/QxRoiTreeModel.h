#pragma once

#include <QAbstractItemModel>
#include <QItemSelection>
#include <QItemSelectionModel>
#include <QString>
#include <QStringList>
#include <string>

#include "hxroi/export.h"

class HxRois;
class QMimeData;
class QxRoiTreeItem;

namespace hxroi {
class SetWatch;
}

namespace hxroi::details {
class Roi;
}

/// The tree of a ROI set for views: masks and groups in the order of the set, and the masks of each group below it.
///
/// Edits go to the set at once. The other direction is the work of QxModelRoisSynchronizer. The model keeps handles to
/// the ROIs and nothing of their data; when the set dies the tree is empty. For the user-interface thread.
///
/// `updateRois` says of an edit whether the set shall change too; without it the set has changed already.
class HXROI_API QxRoiTreeModel : public QAbstractItemModel {
  Q_OBJECT

public:
  /// What the tree serves, and so what it offers.
  enum RoiModule {
    ROIS_MODULE = 1,      ///< names and colours are edited
    SELECTOR_MODULE = 2,  ///< check boxes choose what is visible
    FULL_MODULE = 3       ///< both
  };

  /// Without root and set.
  QxRoiTreeModel(QObject* parent, RoiModule module);
  ~QxRoiTreeModel() override;

  // --- The tree

  /// Builds the tree anew. `rois` may be null and is not owned.
  virtual void setupModelData(HxRois* rois);

  virtual bool isRoiGroup(const QModelIndex& index) const;
  virtual bool isRoiMask(const QModelIndex& index) const;
  virtual bool isRoiRoot(const QModelIndex& index) const;

  /// Visibility of the first ROI of that name or, failing that, identifier; a group comes before its masks. With
  /// `checkParent`, a mask in a hidden group is hidden. False, and no change, when there is none. No signal.
  virtual bool isRoiVisible(const QString& nameOrId, bool checkParent) const;
  virtual void setRoiVisible(bool visible, const QString& nameOrId) const;

  /// The root; null before setupModelData().
  virtual QxRoiTreeItem* getRoot() const;
  /// The node of a valid index, the root for any other.
  virtual QxRoiTreeItem* getItem(const QModelIndex& index) const;

  // --- Edits

  /// Inserts a new node for `roi` and returns it. When set or group refuses, the reason is shown, the model reset, and
  /// the result is null. A ROI that cannot stand there is not inserted: the node belongs to the caller then, and its
  /// childNumber() is -1.
  virtual QxRoiTreeItem* insertRoi(int position, hxroi::details::Roi* roi, const QModelIndex& parent, bool updateRois);

  /// The same for a node that was taken out. False, and the node stays the caller's, when it cannot stand there.
  virtual bool insertTreeItem(int position, QxRoiTreeItem* item, const QModelIndex& parent, bool updateRois);

  /// Takes a node out and hands it to the caller; null when there is none. McException when the set refuses.
  virtual QxRoiTreeItem* removeRoi(int position, const QModelIndex& parent, bool updateRois);

  /// Moves a node; `to` is its row after the removal. The ROI keeps its own colormap. False when it cannot stand there;
  /// McException when the set refuses. Everything is as before then.
  virtual bool moveRoi(int from, int to, const QModelIndex& sourceParent, const QModelIndex& destinationParent,
                       bool updateRois);

  /// Lets `newRoi` take the place of a ROI, in the set too. McException as QxRoiTreeItem::replaceRoi.
  virtual void replaceRoi(const QModelIndex& index, hxroi::details::Roi* newRoi);

  // --- For derived models

  /// A new root.
  virtual QxRoiTreeItem* createItem(HxRois* rois);
  /// A new node that knows its parent but is not yet among its children.
  virtual QxRoiTreeItem* createItem(hxroi::details::Roi* roi, QxRoiTreeItem* parent);
  /// Called with each node that was inserted, with null when that failed.
  virtual void configureInsertedRoi(QxRoiTreeItem* item);

  // --- QAbstractItemModel

  QModelIndex index(int row, int column, const QModelIndex& parent = QModelIndex()) const override;
  QModelIndex parent(const QModelIndex& index) const override;
  using QObject::parent;
  int rowCount(const QModelIndex& parent = QModelIndex()) const override;
  int columnCount(const QModelIndex& parent = QModelIndex()) const override;
  QVariant data(const QModelIndex& index, int role = Qt::DisplayRole) const override;
  /// A refusal is shown.
  bool setData(const QModelIndex& index, const QVariant& value, int role = Qt::EditRole) override;
  QVariant headerData(int section, Qt::Orientation orientation, int role = Qt::DisplayRole) const override;
  /// "application/vnd.text.list".
  QStringList mimeTypes() const override;
  /// The names of the ROIs, each once.
  QMimeData* mimeData(const QModelIndexList& indexes) const override;
  /// Moves the named ROIs and selects them; `row` -1 appends. A refusal of the set is shown.
  bool dropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column,
                    const QModelIndex& parent) override;
  Qt::DropActions supportedDropActions() const override;
  Qt::ItemFlags flags(const QModelIndex& index) const override;

  // --- Looking up

  HxRois* getRois() const { return rois_; }
  RoiModule roiModule() const { return roiModule_; }

  /// Column 0; invalid for the root and for null.
  QModelIndex indexFromTreeItem(const QxRoiTreeItem* item) const;
  QxRoiTreeItem* treeItemFromRoi(const hxroi::details::Roi* roi) const;
  /// The first one of exactly that name.
  QxRoiTreeItem* treeItemFromName(const QString& name) const;
  QModelIndex indexFromName(const QString& name) const;

  /// See HxRois::getUniqueName; the name itself without a set.
  std::string getUniqueName(const std::string& name) const;
  std::string getAvailableMaskName() const;
  std::string getAvailableGroupName() const;

  void setAllRoisVisible(bool visible);

  /// Of all rows, groups before their masks.
  QStringList roiNames() const;

  /// Write the tree, or a set, to standard error.
  void printModel() const;
  static void printHxRois(HxRois* rois);

  // --- For the synchronizer

  /// True while rows come or go, when nobody else may touch the tree. The set is evaluated again after that, so that
  /// what was put off is made up for.
  bool putsOffSynchronization();

  /// Takes a node out of a parent that is about to go, without telling views of it. The caller owns it.
  QxRoiTreeItem* detachItem(QxRoiTreeItem* item);

Q_SIGNALS:
  /// What a drop made current, and selected.
  void updateCurrentIndex(const QModelIndex& index, QItemSelectionModel::SelectionFlags command);
  void updateSelection(const QItemSelection& selection, QItemSelectionModel::SelectionFlags command);
  void modelRowsInserted(const QModelIndex& parent, int first, int last);
  void modelRowsRemoved(const QModelIndex& parent, int first, int last);
  void modelRowMoved(int from, int to, const QModelIndex& sourceParent, const QModelIndex& destinationParent);

private:
  class RowChange;

  void buildTree();
  void insertRow(int position, QxRoiTreeItem* item, QxRoiTreeItem& parent);
  QxRoiTreeItem* removeRow(int position, QxRoiTreeItem& parent);
  void reportInsertion(QxRoiTreeItem* item, const QModelIndex& parent, int position);
  void tellOfLayout();
  void watch(HxRois* rois);
  void makeUpForSynchronization() noexcept;

  QxRoiTreeItem* root_ = nullptr;
  HxRois* rois_ = nullptr;
  const RoiModule roiModule_;
  hxroi::SetWatch* watch_ = nullptr;  ///< belongs to the set
  int rowChanges_ = 0;
  bool missedSynchronization_ = false;
};
