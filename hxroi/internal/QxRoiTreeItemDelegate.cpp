#include "hxroi/internal/QxRoiTreeItemDelegate.h"

#include <QAbstractItemView>
#include <QHelpEvent>
#include <QLineEdit>
#include <QPainter>
#include <QPointer>
#include <QRegularExpressionValidator>
#include <QScopedValueRollback>
#include <QStyle>
#include <QToolTip>
#include <algorithm>

#include "hxroi/internal/QxRoiTreeItem.h"
#include "hxroi/internal/QxRoiTreeModel.h"
#include "hxroi/internal/roiToolTip.h"
#include "quarn/kernel/widgets/QxColorDialog.h"

namespace {

/// Text reads as a colour too, but names are no colours.
bool isColor(const QVariant& value) {
  return value.metaType() == QMetaType::fromType<QColor>();
}

bool isColorCell(const QModelIndex& index) {
  return isColor(index.data(Qt::EditRole));
}

bool isChecked(const QModelIndex& index) {
  return index.data(Qt::CheckStateRole).toInt() == Qt::Checked;
}

/// The masks of a group that is not marked, when none of them is either.
QList<QxRoiTreeItem*> masksToShowWith(const QModelIndex& index) {
  const auto* model = qobject_cast<const QxRoiTreeModel*>(index.model());
  const QxRoiTreeItem* item = model && index.isValid() && !isChecked(index) ? model->getItem(index) : nullptr;
  if (!item || !item->isGroup()) return {};
  const auto isShown = [](const QxRoiTreeItem* mask) { return mask->isVisible(false); };
  const auto masks = item->children();
  return std::any_of(masks.begin(), masks.end(), isShown) ? QList<QxRoiTreeItem*>() : masks;
}

QxColorDialog* colorDialog(QObject* editor) {
  return qobject_cast<QxColorDialog*>(editor);
}

}  // namespace

QxRoiTreeItemDelegate::QxRoiTreeItemDelegate(QObject* parent) : QItemDelegate(parent) {}

QxRoiTreeItemDelegate::~QxRoiTreeItemDelegate() = default;

QWidget* QxRoiTreeItemDelegate::createEditor(QWidget* parent, const QStyleOptionViewItem& option,
                                             const QModelIndex& index) const {
  if (isColorCell(index)) {
    auto* dialog = new QxColorDialog(parent);
    connect(dialog, &QDialog::finished, this, &QxRoiTreeItemDelegate::commitAndCloseEditor);
    return dialog;
  }
  QWidget* editor = QItemDelegate::createEditor(parent, option, index);
  if (auto* line = qobject_cast<QLineEdit*>(editor)) {
    static const QRegularExpression printable(QStringLiteral("[\\x20-\\x7F]+"));
    line->setValidator(new QRegularExpressionValidator(printable, line));
  }
  return editor;
}

void QxRoiTreeItemDelegate::setEditorData(QWidget* editor, const QModelIndex& index) const {
  QxColorDialog* dialog = colorDialog(editor);
  if (!dialog) return QItemDelegate::setEditorData(editor, index);
  const auto color = index.data(Qt::EditRole).value<QColor>();
  dialog->setDefaultColor(McColor(color.redF(), color.greenF(), color.blueF()), -1);
}

void QxRoiTreeItemDelegate::setModelData(QWidget* editor, QAbstractItemModel* model, const QModelIndex& index) const {
  const QxColorDialog* dialog = colorDialog(editor);
  if (!dialog) return QItemDelegate::setModelData(editor, model, index);
  const McColor color = dialog->getColor();
  model->setData(index, QColor::fromRgbF(color.r, color.g, color.b), Qt::EditRole);
}

bool QxRoiTreeItemDelegate::editorEvent(QEvent* event, QAbstractItemModel* model, const QStyleOptionViewItem& option,
                                        const QModelIndex& index) {
  const QPersistentModelIndex place(index);
  QList<QPointer<QxRoiTreeItem>> masks;
  for (QxRoiTreeItem* mask : masksToShowWith(index)) masks.append(mask);
  // Before, so that the set is evaluated once; the click may have been beside the mark.
  const auto setVisible = [&masks](bool visible) {
    for (const auto& mask : masks)
      if (mask) mask->setVisible(visible);
  };
  setVisible(true);
  const bool isDone = QItemDelegate::editorEvent(event, model, option, index);
  if (!place.isValid() || !isChecked(place)) setVisible(false);
  return isDone;
}

/// The dialog places itself.
void QxRoiTreeItemDelegate::updateEditorGeometry(QWidget* editor, const QStyleOptionViewItem& option,
                                                 const QModelIndex& index) const {
  if (!colorDialog(editor)) QItemDelegate::updateEditorGeometry(editor, option, index);
}

void QxRoiTreeItemDelegate::commitAndCloseEditor(int result) {
  QxColorDialog* dialog = colorDialog(sender());
  if (!dialog) return;
  if (result != 0) Q_EMIT commitData(dialog);
  Q_EMIT closeEditor(dialog);
}

/// An editor in the view ends when it loses the focus or is hidden; a dialog says itself how it ends.
bool QxRoiTreeItemDelegate::eventFilter(QObject* editor, QEvent* event) {
  return !colorDialog(editor) && QItemDelegate::eventFilter(editor, event);
}

void QxRoiTreeItemDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option,
                                  const QModelIndex& index) const {
  const QScopedValueRollback kind(paintsColor_, isColor(index.data(Qt::DecorationRole)));
  QItemDelegate::paint(painter, option, index);
}

/// Some air between the colours.
QSize QxRoiTreeItemDelegate::sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const {
  return QItemDelegate::sizeHint(option, index) + QSize(0, 4);
}

void QxRoiTreeItemDelegate::drawDecoration(QPainter* painter, const QStyleOptionViewItem& option, const QRect& rect,
                                           const QPixmap& pixmap) const {
  if (!paintsColor_ || pixmap.isNull() || !rect.isValid())
    return QItemDelegate::drawDecoration(painter, option, rect, pixmap);
  const QSize size = pixmap.deviceIndependentSize().toSize();
  const QRect place = QStyle::alignedRect(option.direction, Qt::AlignCenter, size, rect);
  painter->save();
  painter->drawPixmap(place.topLeft(), pixmap);
  painter->setPen(Qt::black);
  painter->setBrush(Qt::NoBrush);
  painter->drawRect(place.adjusted(0, 0, -1, -1));
  painter->restore();
}

bool QxRoiTreeItemDelegate::helpEvent(QHelpEvent* event, QAbstractItemView* view, const QStyleOptionViewItem& option,
                                      const QModelIndex& index) {
  const auto* model = qobject_cast<const QxRoiTreeModel*>(index.model());
  if (!event || event->type() != QEvent::ToolTip || !model || !index.isValid())
    return QItemDelegate::helpEvent(event, view, option, index);
  QToolTip::showText(event->globalPos(), hxroi::roiToolTip(*model->getItem(index)), view->viewport(), option.rect);
  return true;
}
