#include <QLineEdit>

#include "quarn/kernel/ports/HxPortText.h"

void HxPortText::createWidget(QWidget* parent) {
  HxPort::createWidget(parent);
  auto* edit = new QLineEdit(value_, frame());
  edit->setObjectName("value");
  layout()->addWidget(edit, 1);
  QObject::connect(edit, &QLineEdit::editingFinished, receiver(), [this, edit] {
    // Also comes when the focus leaves an edit that nobody has touched.
    if (!edit->isModified()) return;
    edit->setModified(false);
    act([this, text = edit->text()] { setValue(text); });
  });
}

void HxPortText::showValue() {
  if (auto* edit = findWidget<QLineEdit>("value"); edit && edit->text() != value_) edit->setText(value_);
}
