#include "quarn/kernel/widgets/detail/ParamDelegate.h"

#include <QComboBox>
#include <QLineEdit>

#include "quarn/kernel/params/HxParameter.h"

namespace quarn::detail {

QWidget* ParamDelegate::createEditor(QWidget* parent, const QStyleOptionViewItem& option,
                                     const QModelIndex& index) const {
  if (index.column() != kTypeColumn) return QStyledItemDelegate::createEditor(parent, option, index);
  using Type = HxParameter::Type;
  auto* types = new QComboBox(parent);
  for (const Type type : {Type::Text, Type::Integer, Type::Real, Type::Reals})
    types->addItem(HxParameter::typeName(type));
  return types;
}

void ParamDelegate::setEditorData(QWidget* editor, const QModelIndex& index) const {
  if (auto* types = qobject_cast<QComboBox*>(editor)) {
    types->setCurrentText(index.data().toString());
  } else {
    QStyledItemDelegate::setEditorData(editor, index);
  }
}

void ParamDelegate::setModelData(QWidget* editor, QAbstractItemModel* model, const QModelIndex& index) const {
  if (auto* types = qobject_cast<QComboBox*>(editor)) {
    model->setData(index, types->currentText());
    return;
  }
  // A line cannot show every text, as that with line ends.
  const auto* line = qobject_cast<QLineEdit*>(editor);
  if (!line || line->isModified()) QStyledItemDelegate::setModelData(editor, model, index);
}

}  // namespace quarn::detail
