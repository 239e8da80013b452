#pragma once

#include "quarn/base/McInterfaceOwner.h"
#include "quarn/base/McTypedClass.h"
#include "quarn/base/export.h"

/// Base of the interfaces that are attached to a McInterfaceOwner.
class QUARN_BASE_API McInterface {
public:
  MC_ROOT_CLASS_DECL(McInterface)

  /// Attaches the interface to `owner`, which may be null. Flag 1: the owner deletes the interface; flag 0: it does
  /// not, and whoever made it does.
  McInterface(McInterfaceOwner* owner, int flag);
  McInterface(const McInterface&) = delete;
  McInterface& operator=(const McInterface&) = delete;

  /// Detaches the interface from its owner.
  virtual ~McInterface();

  /// The object that the interface is attached to; null once it has been detached.
  McInterfaceOwner* owner() const noexcept { return owner_; }
  /// Whether the owner deletes the interface.
  bool isOwned() const noexcept { return owned_; }

private:
  friend class McInterfaceOwner;

  McInterfaceOwner* owner_;
  bool owned_;
};
