#pragma once

#include <QColor>
#include <QList>
#include <QObject>
#include <QString>
#include <QVariant>

#include "hxroi/export.h"
#include "quarn/base/McHandle.h"

class HxColormap;
class HxRois;
class QxRoiTreeModel;

namespace hxroi::details {
class Roi;
}

/// A node of the tree of a ROI set: the root, which stands for the set, or one for a ROI, which it keeps alive.
///
/// Nodes own their children and have no Qt parent. Names are Latin-1. For the user-interface thread.
class HXROI_API QxRoiTreeItem : public QObject {
  Q_OBJECT

public:
  static constexpr int kNameColumn = 0;
  static constexpr int kColorColumn = 1;
  static constexpr int kColormapColumn = 2;
  static constexpr int kColumnCount = 3;

  /// A node for `roi` that knows `parent` but is not yet among its children. Neither `parent` nor `model` is owned.
  QxRoiTreeItem(hxroi::details::Roi* roi, QxRoiTreeItem* parent, QxRoiTreeModel* model);
  /// A root; `rois` may be null and is not owned.
  QxRoiTreeItem(HxRois* rois, QxRoiTreeModel* model);
  /// Deletes the children.
  ~QxRoiTreeItem() override;

  // --- What views ask, by column and role

  virtual int columnCount() const;
  /// The check box. With `checkParent`, a node in a hidden group is hidden.
  virtual bool isVisible(bool checkParent) const;
  /// Tells nobody.
  virtual void setVisible(bool visible);
  virtual Qt::ItemFlags flags(int column) const;
  virtual QVariant data(int column, int role) const;
  /// Changes name, colour or visibility; true, also when nothing was there to change.
  virtual bool setData(int column, const QVariant& value, int role);
  virtual QVariant headerData(int section, Qt::Orientation orientation, int role) const;

  // --- The tree

  int childCount() const { return static_cast<int>(children_.size()); }
  /// Null outside.
  QxRoiTreeItem* child(int i) const { return children_.value(i); }
  const QList<QxRoiTreeItem*>& children() const { return children_; }
  /// Null for the root and for a node that was taken out.
  QxRoiTreeItem* parent() const { return parent_; }
  /// The place among the children of the parent, -1 when it is not one of them; 0 without parent.
  int childNumber() const;

  /// Inserts `item`, which this node owns from then on; a position outside appends. With `updateRois` its ROI enters
  /// the set or group before. False, and nothing is changed, for a ROI that cannot stand here: masks stand in groups,
  /// masks and groups in the root. McException when the set refuses.
  bool insertChild(int position, QxRoiTreeItem* item, bool updateRois);

  /// Takes a child out and hands it to the caller. With `updateRois` its ROI leaves the set or group before. Null for a
  /// position outside, but the position behind the last child stops the program. McException when the set refuses.
  QxRoiTreeItem* removeChild(int position, bool updateRois);

  /// Lets `newRoi` take the place of the ROI in set or group and here. McException when the set refuses; everything is
  /// as before then.
  void replaceRoi(hxroi::details::Roi* newRoi);

  // --- The ROI

  HxRois* getRois() const { return rois_; }
  hxroi::details::Roi* getRoi() const { return roi_.get(); }
  /// Forgets a ROI that has left the set.
  void clearRoi();
  QxRoiTreeModel* getModel() const { return model_; }

  /// False for the root.
  bool isMask() const;
  bool isGroup() const;

  /// Of a root the label of the set.
  QString getName() const;
  /// Null without a ROI.
  QString getId() const;

  /// Renames: characters that are not legal are replaced, a name that is taken gets a number, and no name stands for
  /// the next free one. The root labels its set. McException when a set refuses.
  void setName(const QString& text);

  /// As displayed: those of the group in a group. Invalid, and null, without a ROI.
  QColor getColor() const;
  void setColor(const QColor& color);
  const HxColormap* getColormap() const;
  void setColormap(const HxColormap* colormap);

private:
  QVariant nameData(int role) const;
  QVariant colorData(int role) const;
  QVariant colormapData(int role) const;
  bool isMember() const { return parent_ && parent_->isGroup(); }
  bool showsCheckBox() const;

  HxRois* rois_ = nullptr;
  McHandle<hxroi::details::Roi> roi_;
  QxRoiTreeModel* model_;
  QxRoiTreeItem* parent_ = nullptr;
  QList<QxRoiTreeItem*> children_;
  bool visible_ = true;
};
