#include "quarn/kernel/widgets/QxPropertyArea.h"

#include <QCoreApplication>
#include <QVBoxLayout>

#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/kernel/ports/HxPort.h"
#include "quarn/kernel/ports/detail/PortListWatch.h"
#include "quarn/kernel/widgets/detail/ObjectHeader.h"

using quarn::detail::ObjectHeader;
using quarn::detail::PortListWatch;

QxPropertyArea::QxPropertyArea(QWidget* parent) : QScrollArea(parent) {
  setWidgetResizable(true);
  setHorizontalScrollBarPolicy(Qt::ScrollBarAsNeeded);
  setFrameShape(QFrame::NoFrame);
  auto* content = new QWidget;
  column_ = new QVBoxLayout(content);
  column_->setSpacing(4);
  header_ = new ObjectHeader(content);
  column_->addWidget(header_);
  column_->addStretch(0);
  setWidget(content);
  HxObjectPool::instance().addListener(this);
}

QxPropertyArea::~QxPropertyArea() {
  watch_.reset();
  dropWidgets();
  header_->setObject(nullptr);
}

void QxPropertyArea::setObject(HxObject* object) {
  if (object == object_) return;
  const McHandle<HxObject> former = object_;
  watch_.reset();
  dropWidgets();
  object_ = object;
  if (object) watch_ = std::make_unique<PortListWatch>(object, [this] { lookLater(); });
  header_->setObject(object);
  column_->setStretch(0, header_->sizePolicy().expandingDirections() & Qt::Vertical ? 1 : 0);
  look();
}

/// All but the header and the stretch at the end.
void QxPropertyArea::dropWidgets() {
  while (column_->count() > 2) {
    QWidget* widget = column_->itemAt(1)->widget();
    column_->removeWidget(widget);
    if (widget) widget->disconnect(this);
    // One of them may be telling something just now.
    if (widget) widget->hide(), widget->deleteLater();
  }
}

void QxPropertyArea::lookLater() {
  if (willLook_) return;
  willLook_ = true;
  QMetaObject::invokeMethod(
      this,
      [this] {
        willLook_ = false;
        look();
      },
      Qt::QueuedConnection);
}

void QxPropertyArea::look() {
  if (!object_) return;
  int row = 1;
  // Making a widget may show that there are other ports by now.
  const std::vector<HxPort*> ports = object_->ports();
  for (HxPort* port : ports) {
    // Of many ports most are hidden for ever.
    if (!port->frame() && !port->isVisible()) continue;
    if (!port->frame()) port->createWidget(widget());
    if (port->frame() && port->frame()->parentWidget() == widget()) place(port->frame(), row++);
  }
}

void QxPropertyArea::place(QWidget* port, int row) {
  const int found = column_->indexOf(port);
  if (found == row) return;
  if (found < 0) connect(port, &QObject::destroyed, this, &QxPropertyArea::lookLater);
  column_->removeWidget(port);
  const bool grows = port->sizePolicy().expandingDirections() & Qt::Vertical;
  column_->insertWidget(row, port, grows ? 1 : 0);
}

void QxPropertyArea::objectAboutToBeRemoved(HxObject* object) {
  if (object == object_) setObject(nullptr);
}

void QxPropertyArea::objectRenamed(HxObject* object, const QString& /*oldName*/) {
  if (object == object_) header_->refresh();
}

void QxPropertyArea::objectSelected(HxObject* object) {
  if (followsSelection_) setObject(object);
}
