#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "quarn/base/export.h"

/// Handle of a class in the process-wide table of types: its name, its parent, and a way to make objects of it.
///
/// The table may be used before main() and from the constructors of shared libraries, and by any thread. What a handle
/// points to is never freed: it goes on knowing its name and its ancestors when its type, or the type of an ancestor,
/// has been removed from the table, and it comes to life again when a type of that name is registered anew.
///
/// Classes get their entries from the macros of quarn/base/McTypedClass.h.
class QUARN_BASE_API McType {
public:
  /// Makes an object with `new` and gives it as a pointer to the class at the root of its family (`McTypedRoot`).
  using Factory = void* (*)();

  /// The bad type: no class, derived from nothing.
  constexpr McType() noexcept = default;

  /// Registers a type. `parent` is the bad type for a root, `factory` is null for an abstract class. A type that stands
  /// in the table already is returned as it is.
  static McType create(std::string_view name, McType parent, Factory factory);
  /// The registered type of that name, or the bad type.
  static McType find(std::string_view name);
  /// Takes the type out of the table and forgets its factory; nothing happens to its children. Unknown names are
  /// ignored.
  static void remove(std::string_view name);
  /// All registered types in the order of their registration.
  static std::vector<McType> types();

  constexpr bool isBad() const noexcept { return !entry_; }
  bool isRegistered() const noexcept;
  /// Empty for the bad type.
  const std::string& getName() const noexcept;
  McType getParent() const noexcept;
  /// True for `ancestor` itself, too. The bad type derives from nothing and nothing derives from it.
  bool isDerivedFrom(McType ancestor) const noexcept;

  bool canCreateInstance() const noexcept;
  /// A new object of this type, seen as a T, or null when the type is not derived from T's or has no factory. The
  /// caller owns it; a McHandable comes with count 0.
  template <class T>
  T* createInstance() const {
    if (!isDerivedFrom(T::getClassTypeId())) return nullptr;
    return static_cast<T*>(static_cast<typename T::McTypedRoot*>(createAsRoot()));
  }

  friend constexpr bool operator==(McType, McType) noexcept = default;

private:
  struct Entry;
  class Table;

  explicit constexpr McType(Entry* entry) noexcept : entry_(entry) {}
  void* createAsRoot() const;

  Entry* entry_ = nullptr;
};
