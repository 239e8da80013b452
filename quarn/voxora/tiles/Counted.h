#pragma once

#include <atomic>
#include <cstdint>

#include "quarn/voxora/export.h"

namespace hxvoxora {

/// Base of objects that count their references: 0 at birth, the last unref() disposes of the object.
/// Counting is safe from any thread.
class QUARN_VOXORA_API Counted {
public:
  Counted(const Counted&) = delete;
  Counted& operator=(const Counted&) = delete;

  void ref() const noexcept { addReferences(1); }
  void unref() const noexcept { dropReferences(1); }

  /// The count at this moment; only the value 1, read by the holder of that reference, says something lasting.
  int referenceCount() const noexcept { return static_cast<int>(count_.load(std::memory_order_acquire)); }

  /// Several references at once; for holders that keep references in stock.
  void addReferences(std::int64_t n) const noexcept { count_.fetch_add(n, std::memory_order_relaxed); }
  void dropReferences(std::int64_t n) const noexcept {
    if (count_.fetch_sub(n, std::memory_order_acq_rel) == n) dispose();
  }

protected:
  Counted() = default;
  virtual ~Counted();

private:
  /// Called once, when the last reference is gone; deletes the object unless overridden.
  virtual void dispose() const noexcept;

  mutable std::atomic<std::int64_t> count_ = 0;
};

}  // namespace hxvoxora
