#include <QButtonGroup>
#include <QRadioButton>

#include "quarn/kernel/ports/HxPortRadioBox.h"

void HxPortRadioBox::createWidget(QWidget* parent) {
  HxPort::createWidget(parent);
  auto* group = new QButtonGroup(frame());
  group->setObjectName("buttons");
  for (int i = 0; i < buttons(); ++i) {
    auto* button = new QRadioButton(frame());
    button->setObjectName(QString("button%1").arg(i));
    group->addButton(button, i);
    layout()->addWidget(button);
  }
  layout()->addStretch(1);
  showValue();
  QObject::connect(group, &QButtonGroup::idClicked, receiver(), [this](int button) {
    if (button != value_) act([this, button] { setValue(button); });
  });
}

void HxPortRadioBox::showValue() {
  auto* group = frame() ? frame()->findChild<QButtonGroup*>("buttons") : nullptr;
  if (!group) return;
  // While one must be down none can be taken up.
  group->setExclusive(false);
  for (QAbstractButton* button : group->buttons()) {
    button->setText(labels_[group->id(button)]);
    button->setChecked(group->id(button) == value_);
  }
  group->setExclusive(true);
}
