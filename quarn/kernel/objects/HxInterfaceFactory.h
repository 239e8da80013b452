#pragma once

#include "quarn/base/McInterfaceOwner.h"
#include "quarn/base/McTypedClass.h"
#include "quarn/kernel/export.h"

/// Attaches interfaces to objects of classes that know nothing of them. Which factory runs for which class is declared
/// with HxInterfaceFactoryRegistry.
class QUARN_KERNEL_API HxInterfaceFactory {
public:
  MC_ROOT_CLASS_DECL(HxInterfaceFactory)

  virtual ~HxInterfaceFactory();

  /// Attaches to `owner` what it does not have yet; may be called more than once for an object.
  virtual void attachInterfaces(McInterfaceOwner* owner) = 0;
};
