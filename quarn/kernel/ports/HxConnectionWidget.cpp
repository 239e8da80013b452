#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/kernel/ports/HxConnection.h"
#include "quarn/kernel/ports/detail/SourceBox.h"

using quarn::detail::SourceBox;

void HxConnection::createWidget(QWidget* parent) {
  HxPort::createWidget(parent);
  auto* box = new SourceBox(*this, receiver(), frame());
  box->setObjectName("source");
  layout()->addWidget(box, 1);
  showSource();
  QObject::connect(box, &QComboBox::activated, receiver(), [this, box] {
    HxObject* object = HxObjectPool::instance().find(box->chosen());
    // What is listed may have gone since; that is no wish for none.
    const bool isGone = !object && !box->chosen().isEmpty();
    if (object == source_ || isGone) return showSource();
    act([this, object] {
      connect(object);
      showSource();
    });
  });
}

void HxConnection::showSource() {
  if (auto* box = dynamic_cast<SourceBox*>(findWidget<QComboBox>("source"))) box->showSource();
}
