#pragma once

#include <atomic>
#include <cstdint>
#include <utility>

#include "quarn/voxora/tiles/Ref.h"

namespace hxvoxora::detail {

/// A Ref that one thread may replace while others read it; nobody waits for anybody.
///
/// The object is given a stock of references when it is stored. The word holds its address in the lower 48 bits and, in
/// the upper 16, how many of the stock readers have taken: a reader gets address and reference in one addition. What is
/// left of the stock is given back when the object is replaced.
template <typename T>
class AtomicRef {
public:
  AtomicRef() = default;
  explicit AtomicRef(Ref<T> object) { store(std::move(object)); }
  AtomicRef(const AtomicRef&) = delete;
  AtomicRef& operator=(const AtomicRef&) = delete;
  ~AtomicRef() { store(nullptr); }

  Ref<T> load() const noexcept {
    if (word_.load(std::memory_order_acquire) == 0) return nullptr;
    const std::uint64_t word = word_.fetch_add(oneTaken, std::memory_order_acq_rel) + oneTaken;
    T* object = address(word);
    if (object && taken(word) >= refillAt) refill(object);
    return Ref<T>::adopt(object);
  }

  void store(Ref<T> next) noexcept {
    const std::uint64_t old = word_.exchange(filled(next), std::memory_order_acq_rel);
    if (T* former = address(old)) former->dropReferences(stock - taken(old));
  }

  /// Puts `next` in the place of the object and returns that.
  Ref<T> exchange(Ref<T> next) noexcept {
    const std::uint64_t old = word_.exchange(filled(next), std::memory_order_acq_rel);
    T* former = address(old);
    // One reference of the stock goes to the caller.
    if (former) former->dropReferences(stock - taken(old) - 1);
    return Ref<T>::adopt(former);
  }

  /// Stores an object where there is none; false, and nothing stored, where there is one.
  bool storeIfEmpty(Ref<T> next) noexcept {
    std::uint64_t present = word_.load(std::memory_order_acquire);
    if (address(present)) return false;
    T* object = next.get();
    const std::uint64_t word = filled(next);
    while (!word_.compare_exchange_weak(present, word, std::memory_order_acq_rel)) {
      if (!address(present)) continue;
      object->dropReferences(stock);
      return false;
    }
    return true;
  }

  /// The references to its object that this place holds at this moment.
  std::int64_t referencesHeld() const noexcept {
    const std::uint64_t word = word_.load(std::memory_order_acquire);
    return address(word) ? stock - taken(word) : 0;
  }

  /// The object, which is there as long as nobody replaces it.
  T* peek() const noexcept { return address(word_.load(std::memory_order_acquire)); }

private:
  static constexpr std::uint64_t oneTaken = std::uint64_t{1} << 48;
  static constexpr std::int64_t stock = 1 << 16;
  static constexpr std::int64_t refillAt = 1 << 14;

  /// The word for an object and a full stock, one of which was the reference given.
  static std::uint64_t filled(Ref<T>& next) noexcept {
    T* object = next.release();
    if (object) object->addReferences(stock - 1);
    return reinterpret_cast<std::uintptr_t>(object);
  }

  static T* address(std::uint64_t word) { return reinterpret_cast<T*>(word & (oneTaken - 1)); }
  static std::int64_t taken(std::uint64_t word) { return static_cast<std::int64_t>(word >> 48); }

  /// Brings the stock of an object back to its full size. The caller holds a reference to the object.
  void refill(T* object) const noexcept {
    std::uint64_t word = word_.load(std::memory_order_relaxed);
    while (address(word) == object && taken(word) >= refillAt) {
      const std::int64_t missing = taken(word);
      object->addReferences(missing);
      if (word_.compare_exchange_weak(word, word & (oneTaken - 1), std::memory_order_acq_rel)) return;
      object->dropReferences(missing);
    }
  }

  mutable std::atomic<std::uint64_t> word_ = 0;
};

}  // namespace hxvoxora::detail
