#pragma once

#include <QStyledItemDelegate>

namespace quarn::detail {

/// The editors of parameters: a list of types, and lines of text that leave alone what was not typed over.
class ParamDelegate : public QStyledItemDelegate {
public:
  static constexpr int kNameColumn = 0, kTypeColumn = 1, kValueColumn = 2;

  using QStyledItemDelegate::QStyledItemDelegate;

  QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
  void setEditorData(QWidget* editor, const QModelIndex& index) const override;
  void setModelData(QWidget* editor, QAbstractItemModel* model, const QModelIndex& index) const override;
};

}  // namespace quarn::detail
