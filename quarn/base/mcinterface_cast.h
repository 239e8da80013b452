#pragma once

#include <cstddef>
#include <type_traits>

#include "quarn/base/McHandle.h"
#include "quarn/base/McInterface.h"
#include "quarn/base/McInterfaceOwner.h"

/// `object` seen as a T: the object itself when it is one; else the first attached interface that is one; else, when
/// the object is an interface, its owner when that is one; else null. `object` may be null. A const object gives a
/// const T.
///
/// X and T are polymorphic classes, exported when the cast crosses shared libraries. They need not be registered types.
template <class T, class X>
auto mcinterface_cast(X* object) -> std::conditional_t<std::is_const_v<X>, const T, T>* {
  using Result = std::conditional_t<std::is_const_v<X>, const T, T>;
  using Owner = std::conditional_t<std::is_const_v<X>, const McInterfaceOwner, McInterfaceOwner>;
  using Interface = std::conditional_t<std::is_const_v<X>, const McInterface, McInterface>;

  if (auto* result = dynamic_cast<Result*>(object)) return result;
  if (auto* owner = dynamic_cast<Owner*>(object)) {
    for (McInterface* interface : owner->interfaces()) {
      if (auto* result = dynamic_cast<Result*>(interface)) return result;
    }
  }
  if (auto* interface = dynamic_cast<Interface*>(object)) return dynamic_cast<Result*>(interface->owner());
  return nullptr;
}

template <class T, class X>
auto mcinterface_cast(const McHandle<X>& object) {
  return mcinterface_cast<T>(object.get());
}

template <class T>
T* mcinterface_cast(std::nullptr_t) noexcept {
  return nullptr;
}
