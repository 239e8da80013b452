#include <QPointer>

#include "quarn/kernel/ports/HxPortInteger.h"
#include "quarn/kernel/ports/detail/WholeNumberBox.h"

using quarn::detail::WholeNumberBox;

void HxPortInteger::createWidget(QWidget* parent) {
  HxPort::createWidget(parent);
  // The box may outlive the port for a moment, but not its receiver.
  const QPointer<QObject> alive = receiver();
  const auto take = [this, alive](std::int64_t number) {
    if (alive) act([this, number] { setValue(number); });
  };
  auto* box = new WholeNumberBox(minimum_, maximum_, take, frame());
  box->setObjectName("value");
  box->setMinimumWidth(90);
  layout()->addWidget(box);
  layout()->addStretch(1);
  showValue();
}

void HxPortInteger::showValue() {
  auto* box = dynamic_cast<WholeNumberBox*>(findWidget<QAbstractSpinBox>("value"));
  if (box) box->setValue(value_);
}
