#pragma once

#include <atomic>
#include <mutex>
#include <optional>

#include "quarn/base/McBox3i.h"
#include "quarn/base/McMutex.h"

namespace hxroi::details {

/// A box that is known or not. Any thread may ask, set or clear at any time; clearing what is clear already costs one
/// atomic read, so that the workers of a pass can all do it. A copy takes the value.
class BoxCache {
public:
  BoxCache() = default;
  BoxCache(const BoxCache& other) { assign(other.get()); }
  BoxCache& operator=(const BoxCache& other) {
    assign(other.get());
    return *this;
  }

  BoxCache& operator=(const std::optional<McBox3i>& box) {
    assign(box);
    return *this;
  }

  std::optional<McBox3i> get() const {
    const std::lock_guard lock(mutex_);
    return box_;
  }

  void clear() {
    if (known_.load(std::memory_order_acquire)) assign(std::nullopt);
  }

private:
  void assign(const std::optional<McBox3i>& box) {
    const std::lock_guard lock(mutex_);
    box_ = box;
    known_.store(box.has_value(), std::memory_order_release);
  }

  mutable McMutex mutex_;
  std::optional<McBox3i> box_;
  std::atomic<bool> known_{false};
};

}  // namespace hxroi::details
