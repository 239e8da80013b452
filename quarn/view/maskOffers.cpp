#include "quarn/view/maskOffers.h"

#include <algorithm>

#include "quarn/base/McException.h"
#include "quarn/base/mcinterface_cast.h"
#include "quarn/kernel/fields/HxISetOfVolumeMask.h"
#include "quarn/kernel/objects/HxInterfaceFactoryRegistry.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/kernel/ports/HxConnection.h"

namespace quarn::view {

namespace {

HxConnection* dataOf(HxObject* object) {
  return dynamic_cast<HxConnection*>(object->findPort(QStringLiteral("data")));
}

bool offersMasks(const HxObject* object) {
  return mcinterface_cast<HxISetOfVolumeMask>(object) != nullptr;
}

bool hasMarks(const HxObject& object) {
  return object.isNew() || std::ranges::any_of(object.ports(), [](const HxPort* port) { return port->isNew(); });
}

/// With what is connected to it, which would not hear of these marks later.
void evaluateMarked(HxObject* object) {
  if (object && !object->isBeingEvaluated() && hasMarks(*object)) object->fire(1);
}

/// Null for a class of which no object can be made.
McHandle<HxObject> tryCreate(const QString& className) {
  try {
    return HxObject::create(className);
  } catch (const McException&) {
    return nullptr;
  }
}

}  // namespace

HxObject* findMaskOffer(const HxObject* source) {
  for (const McHandle<HxObject>& object : HxObjectPool::instance().objects()) {
    const HxConnection* data = offersMasks(object) ? dataOf(object) : nullptr;
    if (data && data->source() == source) return object;
  }
  return nullptr;
}

McHandle<HxObject> newMaskOffer(HxObject* source) {
  for (const QString& name : HxInterfaceFactoryRegistry::instance().classNames()) {
    McHandle<HxObject> candidate = tryCreate(name);
    if (!candidate || !offersMasks(candidate)) continue;
    HxConnection* data = dataOf(candidate);
    if (data && data->wouldConnect(source)) return candidate;
  }
  return nullptr;
}

HxObject* provideMaskOffer(HxObject* source) {
  if (HxObject* present = findMaskOffer(source)) return present;
  const McHandle<HxObject> made = newMaskOffer(source);
  if (!made) return nullptr;
  HxObjectPool::instance().add(made, source->getName() + QStringLiteral("-shown"));
  dataOf(made)->connect(source);
  made->fire(1);
  return made;
}

void bringMasksUpToDate(HxObject& object) {
  if (!offersMasks(&object)) return;
  if (const HxConnection* data = dataOf(&object)) evaluateMarked(data->source());
  evaluateMarked(&object);
}

}  // namespace quarn::view
