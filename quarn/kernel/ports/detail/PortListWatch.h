#pragma once

#include <functional>

class HxObject;

namespace quarn::detail {

/// Hears when an object gets or loses a port, or shows one that has no widget. A fresh port is not complete yet when it
/// is told of, nor is one that goes: the answer is to look later. For the user-interface thread.
class PortListWatch {
public:
  /// `object` is not owned and may die before the watch ends.
  PortListWatch(const HxObject* object, std::function<void()> changed);
  ~PortListWatch();
  PortListWatch(const PortListWatch&) = delete;
  PortListWatch& operator=(const PortListWatch&) = delete;

  /// Said by ports.
  static void tell(const HxObject* object);

private:
  const HxObject* const object_;
  const std::function<void()> changed_;
};

}  // namespace quarn::detail
