#include "quarn/kernel/objects/HxObjectPool.h"

#include <algorithm>

#include "quarn/kernel/objects/HxCompModule.h"
#include "quarn/kernel/objects/HxInterfaceFactoryRegistry.h"
#include "quarn/kernel/ports/HxConnection.h"
#include "quarn/kernel/script/HxInterpreter.h"

namespace {

constexpr qsizetype kMaximumNameLength = 200;

bool isPlainInScripts(QChar c) {
  static const QString special = "\"'`{}[]()$\\:;#";
  return c.isPrint() && !c.isSpace() && !special.contains(c);
}

}  // namespace

HxObjectPool& HxObjectPool::instance() {
  // Never destroyed: whoever ends the process empties it while the classes of its objects are still there.
  static auto* const pool = new HxObjectPool;
  return *pool;
}

HxObject* HxObjectPool::find(const char* name) const {
  return name ? find(QString::fromUtf8(name)) : nullptr;
}

HxObject* HxObjectPool::find(const QString& name) const {
  if (name.isEmpty()) return nullptr;
  const auto found =
      std::find_if(objects_.begin(), objects_.end(), [&](const auto& object) { return object->getName() == name; });
  return found == objects_.end() ? nullptr : found->get();
}

void HxObjectPool::add(HxObject* object, const QString& name) {
  if (object->isInPool()) return;
  const QString className = QString::fromStdString(object->getTypeId().getName());
  const McHandle<HxObject> added(object);
  object->name_ = uniqueName(name.isEmpty() ? className : name);
  objects_.push_back(added);
  object->inPool_ = true;
  addCommand(object);
  HxInterfaceFactoryRegistry::instance().attachInterfaces(object);
  tell([&](HxObjectPoolListener& listener) { listener.objectAdded(object); });
}

void HxObjectPool::addCommand(HxObject* object) {
  const auto command = [held = McHandle<HxObject>(object)](Tcl_Interp* interp, int argc, char** argv) {
    return held->parse(interp, argc, argv);
  };
  HxInterpreter::instance().addObject(object->getName(), command);
}

void HxObjectPool::remove(HxObject* object) {
  if (!object || !object->isInPool()) return;
  const McHandle<HxObject> removed(object);
  removeTightOwners(object);
  if (!object->isInPool()) return;
  tell([&](HxObjectPoolListener& listener) { listener.objectAboutToBeRemoved(object); });
  if (!object->isInPool()) return;

  HxInterpreter::instance().removeObject(object->getName());
  object->cutDownstream();
  if (auto* data = dynamic_cast<HxData*>(object)) {
    auto* master = dynamic_cast<HxCompModule*>(data->baseConnection.source());
    data->baseConnection.disconnect();
    if (master) master->dropResult(data);
  }
  if (selectedPort_ && selectedPort_->owner() == object) selectedPort_ = nullptr;
  if (selected_ == object) selected_.reset();
  std::erase(objects_, removed);
  object->inPool_ = false;
  object->name_.clear();
}

void HxObjectPool::removeTightOwners(HxObject* source) {
  std::vector<McHandle<HxObject>> owners;
  for (const HxConnection* connection : source->downstreamConnections()) {
    if (connection->isTight()) owners.emplace_back(connection->owner());
  }
  for (const auto& owner : owners) remove(owner);
}

void HxObjectPool::clear() {
  while (!objects_.empty()) remove(objects_.back());
}

QString HxObjectPool::rename(HxObject* object, const QString& name) {
  const QString oldName = object->getName();
  if (!object->isInPool() || safeName(name) == oldName) return oldName;
  const QString newName = uniqueName(name);
  HxInterpreter::instance().renameObject(oldName, newName);
  object->name_ = newName;
  tell([&](HxObjectPoolListener& listener) { listener.objectRenamed(object, oldName); });
  return newName;
}

QString HxObjectPool::uniqueName(const QString& name) const {
  const QString safe = safeName(name);
  const QString stem = safe.back().isDigit() ? safe + "-" : safe;
  const auto isTaken = [this](const QString& text) { return find(text) || HxInterpreter::instance().isCommand(text); };
  QString unique = safe;
  for (int number = 2; isTaken(unique); ++number) unique = stem + QString::number(number);
  return unique;
}

QString HxObjectPool::safeName(const QString& text) {
  if (text.isEmpty()) return "object";
  QString safe = text.left(kMaximumNameLength);
  for (QChar& c : safe) {
    if (!isPlainInScripts(c)) c = '_';
  }
  // A word that begins with a dash is taken for an option.
  if (safe.startsWith('-')) safe[0] = '_';
  return safe;
}

void HxObjectPool::select(HxObject* object) {
  selected_ = object;
  tell([&](HxObjectPoolListener& listener) { listener.objectSelected(object); });
}

void HxObjectPool::notifyEvaluated(HxObject* object) {
  tell([&](HxObjectPoolListener& listener) { listener.objectEvaluated(object); });
}

void HxObjectPool::notifyPortSelectedChanged(HxPort* port) {
  selectedPort_ = port;
}

void HxObjectPool::addListener(HxObjectPoolListener* listener) {
  if (std::find(listeners_.begin(), listeners_.end(), listener) == listeners_.end()) listeners_.push_back(listener);
}

void HxObjectPool::removeListener(HxObjectPoolListener* listener) {
  std::erase(listeners_, listener);
}

template <class Tell>
void HxObjectPool::tell(Tell call) {
  // Listeners may come and go while they are told.
  const auto listeners = listeners_;
  for (HxObjectPoolListener* listener : listeners) {
    if (std::find(listeners_.begin(), listeners_.end(), listener) != listeners_.end()) call(*listener);
  }
}
