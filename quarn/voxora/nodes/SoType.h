#pragma once

#include "quarn/voxora/export.h"
#include "quarn/voxora/nodes/SbTypes.h"

/// A class of the toolkit in the process-wide type table. A value of this class is a key into the table; entries are
/// never reused, so a removed type is bad for everybody who kept its key. All operations are safe from any thread and
/// usable before main().
class QUARN_VOXORA_API SoType {
public:
  using Factory = void* (*)(SoType* type);

  /// The bad type.
  SoType() = default;

  static SoType badType() { return SoType(); }

  /// Registers a class. `factory` may be null for an abstract class; `data` is 0. A name that is registered already
  /// keeps its entry, which is returned.
  static SoType createType(SoType parent, const SbName& name, Factory factory = nullptr, unsigned data = 0);

  /// The type of a name, bad when there is none.
  static SoType fromName(const SbName& name);

  /// Takes a type out of the table; false when the name is unknown. Derived types stay.
  static bool removeType(const SbName& name);

  /// True for the bad type and for one that was removed.
  bool isBad() const;

  /// The name; "BadType" for a bad type.
  SbName getName() const;

  /// The bad type for a type without a registered parent.
  SoType getParent() const;

  /// True for the type itself and every type above it.
  bool isDerivedFrom(SoType ancestor) const;

  bool canCreateInstance() const;

  /// What the type's factory makes; null for a bad or abstract type.
  void* createInstance() const;

  friend bool operator==(const SoType&, const SoType&) = default;

private:
  explicit SoType(int key) : key_(key) {}

  int key_ = 0;
};
