#include <QLabel>
#include <QPushButton>

#include "quarn/kernel/ports/HxPortDoIt.h"

void HxPortDoIt::createWidget(QWidget* parent) {
  HxPort::createWidget(parent);
  for (int i = 0; i < buttons(); ++i) {
    auto* button = new QPushButton(QString::number(i + 1), frame());
    button->setObjectName(QString("button%1").arg(i));
    layout()->addWidget(button);
    QObject::connect(button, &QPushButton::clicked, receiver(), [this, i] { act([this, i] { hit(i); }); });
  }
  layout()->addStretch(1);
  showLabel();
}

void HxPortDoIt::showLabel() {
  HxPort::showLabel();
  auto* button = findWidget<QPushButton>("button0");
  if (buttons() > 1 || !button) return;
  button->setText(getLabel());
  findWidget<QLabel>("label")->clear();
}
