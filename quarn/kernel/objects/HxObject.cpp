#include "quarn/kernel/objects/HxObject.h"

#include <algorithm>
#include <set>

#include "quarn/base/McException.h"
#include "quarn/kernel/objects/HxInterfaceFactoryRegistry.h"
#include "quarn/kernel/objects/detail/HxEvaluation.h"
#include "quarn/kernel/ports/HxConnection.h"

MC_ABSTRACT_CLASS_IMPL(HxObject, HxBase)

HxObject::HxObject() = default;

HxObject::~HxObject() {
  quarn::detail::HxEvaluation::forget(*this);
  cutDownstream();
  for (HxPort* port : ports_) {
    // Nobody is left who would hear of a source.
    if (auto* connection = dynamic_cast<HxConnection*>(port)) connection->disconnect();
    port->owner_ = nullptr;
  }
}

McHandle<HxObject> HxObject::create(const QString& className) {
  const std::string name = className.toStdString();
  const McType type = McType::find(name);
  if (type.isBad()) throw McException("There is no class \"" + McException::excerpt(name) + "\".");
  McHandle<HxObject> object(type.createInstance<HxObject>());
  if (!object) throw McException("No object can be made of class \"" + McException::excerpt(name) + "\".");
  HxInterfaceFactoryRegistry::instance().attachInterfaces(object);
  return object;
}

void HxObject::notifyDelete() {
  // Interfaces may take and drop references to their owner while they go.
  ref();
  cutDownstream();
  deleteInterfaces();
  releaseWithoutDelete();
  HxBase::notifyDelete();
}

void HxObject::touch(unsigned int flags) {
  newFlags_.raise(flags);
}

void HxObject::fire(int downstream) {
  quarn::detail::HxEvaluation::fire(*this, downstream != 0);
}

bool HxObject::isBeingEvaluated() const {
  return quarn::detail::HxEvaluation::involves(*this);
}

HxPort* HxObject::findPort(const QString& name) const {
  const auto found =
      std::find_if(ports_.begin(), ports_.end(), [&](const HxPort* port) { return port->getName() == name; });
  return found == ports_.end() ? nullptr : *found;
}

bool HxObject::isUpstreamOf(const HxObject& other) const {
  std::set<const HxObject*> seen{this};
  std::vector<const HxObject*> open{this};
  while (!open.empty()) {
    const HxObject* object = open.back();
    open.pop_back();
    for (const HxConnection* connection : object->downstream_) {
      const HxObject* owner = connection->owner();
      if (owner == &other) return true;
      if (seen.insert(owner).second) open.push_back(owner);
    }
  }
  return false;
}

bool HxObject::acceptConnection(HxConnection* connection, HxObject* source) {
  return connection->accepts(source);
}

HxData* HxObject::resultObject(int) const {
  return nullptr;
}

bool HxObject::canCreateData(HxData*, QString&) {
  return false;
}

void HxObject::cutDownstream() {
  while (!downstream_.empty()) downstream_.back()->disconnect();
}

void HxObject::settleMarks() {
  newFlags_.settle();
  for (HxPort* port : ports_) port->settleMarks();
}

void HxObject::clearMarks() {
  newFlags_.clearSettled();
  for (HxPort* port : ports_) port->clearMarks();
}

void HxObject::evaluated() {}
