#include "quarn/kernel/objects/detail/MakingRecord.h"

#include <algorithm>

#include "quarn/kernel/objects/HxData.h"
#include "quarn/kernel/ports/HxConnection.h"
#include "quarn/kernel/ports/HxPortColormap.h"

namespace quarn::detail {
namespace {

/// The module that made a data object and the colormaps that it is shown with say nothing about its content.
bool bearsOnContent(const HxObject& owner, const HxConnection& connection) {
  const auto* data = dynamic_cast<const HxData*>(&owner);
  return !data || (&connection != &data->baseConnection && !dynamic_cast<const HxPortColormap*>(&connection));
}

QString nameOf(const HxObject& object) {
  return object.getName().isEmpty() ? object.describe() : object.getName();
}

std::uint32_t touchTimeOf(const HxObject& object) {
  const auto* data = dynamic_cast<const HxData*>(&object);
  return data ? data->getTouchTime() : 0;
}

}  // namespace

bool MakingRecord::Source::isSameConnection(const Source& other) const {
  return owner == other.owner && port == other.port && object == other.object;
}

MakingRecord::MakingRecord(const HxObject& module) {
  std::set<const HxObject*> seen;
  add(module, seen);
}

bool MakingRecord::hasSource(const HxObject& owner, const QString& port) const {
  return std::ranges::any_of(sources_, [&](const Source& s) { return s.owner == &owner && s.port == port; });
}

void MakingRecord::add(const HxObject& object, std::set<const HxObject*>& seen) {
  if (!seen.insert(&object).second) return;
  if (!dynamic_cast<const HxData*>(&object)) addStates(object);
  addSources(object, seen);
}

void MakingRecord::addSources(const HxObject& object, std::set<const HxObject*>& seen) {
  for (const HxPort* port : object.ports()) {
    const auto* connection = dynamic_cast<const HxConnection*>(port);
    if (!connection || !connection->source() || !bearsOnContent(object, *connection)) continue;
    const HxObject& source = *connection->source();
    sources_.push_back({&object, port->getName(), &source, touchTimeOf(source)});
    add(source, seen);
  }
}

void MakingRecord::addStates(const HxObject& object) {
  for (const HxPort* port : object.ports()) {
    QString text;
    port->getState(text);
    states_.push_back({&object, port->getName(), text});
  }
}

QString MakingRecord::differenceTo(const HxObject& module) const {
  const MakingRecord now(module);
  const auto isSame = [](const Source& a, const Source& b) { return a.isSameConnection(b); };
  if (!std::ranges::equal(sources_, now.sources_, isSame))
    return QString("what %1 is connected to").arg(nameOf(module));
  // From here on the objects of both are the same ones, and alive.
  for (std::size_t i = 0; i < sources_.size(); ++i) {
    if (sources_[i].touchTime != now.sources_[i].touchTime) return nameOf(*sources_[i].object);
  }
  const auto [then, changed] = std::ranges::mismatch(states_, now.states_);
  if (changed != now.states_.end()) return QString("port \"%1\" of %2").arg(changed->port, nameOf(*changed->owner));
  return then == states_.end() ? QString() : QString("ports of %1").arg(nameOf(*then->owner));
}

}  // namespace quarn::detail
