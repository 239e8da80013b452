#include "quarn/voxora/nodes/SoType.h"

#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace {

struct Entry {
  SbName name;
  SoType parent;
  SoType::Factory factory = nullptr;
  bool removed = false;
};

/// Entry 0 is the bad type; keys are indices and are never given to another type.
struct Table {
  std::mutex mutex;
  std::vector<Entry> entries{Entry{"BadType", SoType(), nullptr, true}};
  std::map<std::string, int> keys;
};

/// Never destroyed: classes are taken out by static objects that end late.
Table& table() {
  static Table& instance = *new Table;
  return instance;
}

Entry entryOf(int key) {
  Table& types = table();
  const std::lock_guard lock(types.mutex);
  return types.entries[static_cast<std::size_t>(key)];
}

}  // namespace

SoType SoType::createType(SoType parent, const SbName& name, Factory factory, unsigned) {
  Table& types = table();
  const std::lock_guard lock(types.mutex);
  const auto [place, isNew] = types.keys.try_emplace(name.text(), static_cast<int>(types.entries.size()));
  if (isNew) types.entries.push_back(Entry{name, parent, factory, false});
  return SoType(place->second);
}

SoType SoType::fromName(const SbName& name) {
  Table& types = table();
  const std::lock_guard lock(types.mutex);
  const auto place = types.keys.find(name.text());
  return place == types.keys.end() ? SoType() : SoType(place->second);
}

bool SoType::removeType(const SbName& name) {
  Table& types = table();
  const std::lock_guard lock(types.mutex);
  const auto place = types.keys.find(name.text());
  if (place == types.keys.end()) return false;
  types.entries[static_cast<std::size_t>(place->second)].removed = true;
  types.keys.erase(place);
  return true;
}

bool SoType::isBad() const {
  return entryOf(key_).removed;
}

SbName SoType::getName() const {
  return isBad() ? SbName("BadType") : entryOf(key_).name;
}

SoType SoType::getParent() const {
  const SoType parent = entryOf(key_).parent;
  return parent.isBad() ? SoType() : parent;
}

bool SoType::isDerivedFrom(SoType ancestor) const {
  if (isBad() || ancestor.isBad()) return false;
  for (SoType type = *this; type.key_ != 0; type = entryOf(type.key_).parent)
    if (type == ancestor) return true;
  return false;
}

bool SoType::canCreateInstance() const {
  return !isBad() && entryOf(key_).factory != nullptr;
}

void* SoType::createInstance() const {
  const Entry entry = entryOf(key_);
  if (entry.removed || !entry.factory) return nullptr;
  SoType self = *this;
  return entry.factory(&self);
}
