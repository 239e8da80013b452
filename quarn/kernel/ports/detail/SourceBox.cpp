#include "quarn/kernel/ports/detail/SourceBox.h"

#include <QCoreApplication>
#include <QKeyEvent>
#include <QWheelEvent>

#include "quarn/kernel/objects/HxObject.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/kernel/ports/HxConnection.h"

namespace quarn::detail {
namespace {

QString textOf(const HxObject& object) {
  if (object.getName().isEmpty() || object.getLabel() == object.getName()) return object.describe();
  return QString("%1 (%2)").arg(object.getLabel(), object.getName());
}

}  // namespace

SourceBox::SourceBox(HxConnection& connection, QObject* guard, QWidget* parent)
    : QComboBox(parent), connection_(connection), guard_(guard) {
  setMinimumContentsLength(14);
  setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
  HxObjectPool::instance().addListener(this);
}

SourceBox::~SourceBox() {
  HxObjectPool::instance().removeListener(this);
}

void SourceBox::addObject(const HxObject& object) {
  addItem(textOf(object), object.getName());
}

void SourceBox::showSource() {
  if (!guard_) return;
  clear();
  if (const HxObject* source = connection_.source()) {
    addObject(*source);
  } else {
    addItem(QCoreApplication::translate("HxConnection", "none"));
  }
  setEnabled(connection_.isEditingAllowed());
}

void SourceBox::fill() {
  if (!guard_) return;
  clear();
  addItem(QCoreApplication::translate("HxConnection", "none"));
  const HxObject* source = connection_.source();
  for (const McHandle<HxObject>& object : HxObjectPool::instance().objects()) {
    if (object == source || connection_.wouldConnect(object)) addObject(*object);
    if (object == source) setCurrentIndex(count() - 1);
  }
  if (!source || source->isInPool()) return;
  addObject(*source);
  setCurrentIndex(count() - 1);
}

void SourceBox::showPopup() {
  fill();
  QComboBox::showPopup();
}

/// A panel that is scrolled must not change connections on the way.
void SourceBox::wheelEvent(QWheelEvent* event) {
  event->ignore();
}

void SourceBox::keyPressEvent(QKeyEvent* event) {
  if (count() < 2) fill();
  QComboBox::keyPressEvent(event);
}

void SourceBox::objectRenamed(HxObject* object, const QString&) {
  if (guard_ && object == connection_.source()) showSource();
}

}  // namespace quarn::detail
