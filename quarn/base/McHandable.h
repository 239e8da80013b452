#pragma once

#include <atomic>

#include "quarn/base/export.h"

/// Base of reference counted objects; McHandle holds the references.
///
/// A new object has count 0 and is handed on as a raw pointer to its first handle. Counting is safe from any number of
/// threads at once; everything else about an object's threads is up to its class.
class QUARN_BASE_API McHandable {
public:
  McHandable() noexcept = default;
  /// References belong to an object, not to its value: a copy starts at 0, assignment keeps both counts.
  McHandable(const McHandable&) noexcept {}
  McHandable& operator=(const McHandable&) noexcept { return *this; }

  virtual ~McHandable();

  /// Called once when the last reference is gone, with the count at 0. Deletes the object unless overridden.
  virtual void notifyDelete();

  void ref() const noexcept { count_.fetch_add(1, std::memory_order_relaxed); }

  /// Drops one reference; the caller must hold it. The last one ends in notifyDelete().
  void unref() const;

  /// Drops one reference and lets the object live on without any, as at its birth.
  void releaseWithoutDelete() const noexcept { count_.fetch_sub(1, std::memory_order_acq_rel); }

  /// The number of references now; other threads may have changed it already.
  int refCount() const noexcept { return count_.load(std::memory_order_acquire); }

private:
  mutable std::atomic<int> count_{0};
};
