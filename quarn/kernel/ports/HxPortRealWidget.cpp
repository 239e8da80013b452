#include <QLineEdit>

#include "quarn/kernel/ports/HxPortReal.h"

void HxPortReal::createWidget(QWidget* parent) {
  HxPort::createWidget(parent);
  auto* edit = new QLineEdit(text(), frame());
  edit->setObjectName("value");
  edit->setMaximumWidth(120);
  layout()->addWidget(edit);
  layout()->addStretch(1);
  QObject::connect(edit, &QLineEdit::editingFinished, receiver(), [this, edit] {
    // Also comes when the focus leaves an edit that nobody has touched.
    if (!edit->isModified()) return;
    edit->setModified(false);
    act([this, typed = edit->text()] {
      setState(typed);
      showValue();
    });
  });
}

void HxPortReal::showValue() {
  if (auto* edit = findWidget<QLineEdit>("value"); edit && edit->text() != text()) edit->setText(text());
}
