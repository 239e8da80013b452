#include "quarn/base/McType.h"

#include <atomic>
#include <functional>
#include <map>
#include <mutex>

/// One class that was ever registered. Entries are never freed, and only the table changes them.
struct McType::Entry {
  explicit Entry(std::string_view text) : name(text) {}

  const std::string name;
  std::atomic<Entry*> parent{nullptr};
  std::atomic<Factory> factory{nullptr};
  std::atomic<bool> registered{false};
};

/// Owns the entries and guards the changes to them.
class McType::Table {
public:
  // Made on first use and never destroyed: libraries register before main() and unregister after it.
  static Table& instance() {
    static Table* const table = new Table;
    return *table;
  }

  Entry* add(std::string_view name, Entry* parent, Factory factory) {
    const std::lock_guard lock(mutex_);
    Entry& entry = entries_.try_emplace(std::string(name), name).first->second;
    if (!entry.registered) {
      order_.push_back(&entry);
      entry.parent = parent;
      entry.factory = factory;
      entry.registered = true;
    }
    return &entry;
  }

  void remove(std::string_view name) {
    const std::lock_guard lock(mutex_);
    if (Entry* entry = findRegistered(name)) {
      std::erase(order_, entry);
      entry->registered = false;
      entry->factory = nullptr;
    }
  }

  Entry* find(std::string_view name) {
    const std::lock_guard lock(mutex_);
    return findRegistered(name);
  }

  std::vector<Entry*> registered() {
    const std::lock_guard lock(mutex_);
    return order_;
  }

private:
  Entry* findRegistered(std::string_view name) {
    const auto found = entries_.find(name);
    return found != entries_.end() && found->second.registered ? &found->second : nullptr;
  }

  std::mutex mutex_;
  std::map<std::string, Entry, std::less<>> entries_;
  std::vector<Entry*> order_;
};

McType McType::create(std::string_view name, McType parent, Factory factory) {
  return McType(Table::instance().add(name, parent.entry_, factory));
}

McType McType::find(std::string_view name) {
  return McType(Table::instance().find(name));
}

void McType::remove(std::string_view name) {
  Table::instance().remove(name);
}

std::vector<McType> McType::types() {
  std::vector<McType> result;
  for (Entry* entry : Table::instance().registered()) result.push_back(McType(entry));
  return result;
}

bool McType::isRegistered() const noexcept {
  return entry_ && entry_->registered;
}

const std::string& McType::getName() const noexcept {
  static const std::string* const none = new std::string;
  return entry_ ? entry_->name : *none;
}

McType McType::getParent() const noexcept {
  return entry_ ? McType(entry_->parent.load()) : McType();
}

bool McType::isDerivedFrom(McType ancestor) const noexcept {
  if (ancestor.isBad()) return false;
  for (const Entry* entry = entry_; entry; entry = entry->parent) {
    if (entry == ancestor.entry_) return true;
  }
  return false;
}

bool McType::canCreateInstance() const noexcept {
  return entry_ && entry_->factory;
}

void* McType::createAsRoot() const {
  const Factory factory = entry_ ? entry_->factory.load() : nullptr;
  return factory ? factory() : nullptr;
}
