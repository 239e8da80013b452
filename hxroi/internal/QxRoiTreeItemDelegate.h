#pragma once

#include <QItemDelegate>

#include "hxroi/export.h"

/// Edits names as lines of printable ASCII, and colours in a dialog.
class HXROI_API QxRoiTreeItemDelegate : public QItemDelegate {
  Q_OBJECT

public:
  explicit QxRoiTreeItemDelegate(QObject* parent = nullptr);
  ~QxRoiTreeItemDelegate() override;

  void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
  QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;
  QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
  void setEditorData(QWidget* editor, const QModelIndex& index) const override;
  void setModelData(QWidget* editor, QAbstractItemModel* model, const QModelIndex& index) const override;
  void updateEditorGeometry(QWidget* editor, const QStyleOptionViewItem& option,
                            const QModelIndex& index) const override;
  /// Tells of a ROI what can be told at once.
  bool helpEvent(QHelpEvent* event, QAbstractItemView* view, const QStyleOptionViewItem& option,
                 const QModelIndex& index) override;

public Q_SLOTS:
  /// Ends the edit in the dialog that sends the signal; 0 drops it.
  void commitAndCloseEditor(int result);

protected:
  /// Whoever marks a group of which no mask is marked wants to see all of them.
  bool editorEvent(QEvent* event, QAbstractItemModel* model, const QStyleOptionViewItem& option,
                   const QModelIndex& index) override;
  void drawDecoration(QPainter* painter, const QStyleOptionViewItem& option, const QRect& rect,
                      const QPixmap& pixmap) const override;
  bool eventFilter(QObject* editor, QEvent* event) override;

private:
  mutable bool paintsColor_ = false;  ///< the decoration of the cell being painted is a colour
};
