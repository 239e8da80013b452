#pragma once

#include <vector>

#include "quarn/base/McTypedClass.h"
#include "quarn/base/export.h"

class McInterface;

/// An object that can offer interfaces: objects attached to it at run time, by code that it does not know. They are
/// found with mcinterface_cast.
///
/// Interfaces are attached and deleted by the thread that owns the object; looking them up is open to all threads while
/// that does not happen.
class QUARN_BASE_API McInterfaceOwner {
public:
  MC_ROOT_CLASS_DECL(McInterfaceOwner)

  McInterfaceOwner() = default;
  McInterfaceOwner(const McInterfaceOwner&) = delete;
  McInterfaceOwner& operator=(const McInterfaceOwner&) = delete;

  /// Ends with deleteInterfaces(). By then this is no more than a McInterfaceOwner: a class whose interfaces look at
  /// their owner while they die calls deleteInterfaces() in its own destructor.
  virtual ~McInterfaceOwner();

  /// The attached interfaces in the order of their attachment.
  const std::vector<McInterface*>& interfaces() const noexcept { return interfaces_; }

  /// Deletes the owned interfaces, the latest first, and detaches the others: their owner() is null from then on. An
  /// owned interface that is a McHandable and still referred to is detached, too; its last handle deletes it. Harmless
  /// when called again.
  void deleteInterfaces();

private:
  friend class McInterface;

  std::vector<McInterface*> interfaces_;
};
