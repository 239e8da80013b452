#pragma once

#include <atomic>
#include <cstdint>

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
    T* object = next.release();
    if (object) object->addReferences(stock - 1);
    const std::uint64_t old = word_.exchange(reinterpret_cast<std::uintptr_t>(object), std::memory_order_acq_rel);
    if (T* former = address(old)) former->dropReferences(stock - taken(old));
  }

  /// Who holds the object beside this place, as far as can be told while others take and drop references.
  enum class Holders {
    None,         ///< nobody
    References,   ///< references, taken from here or elsewhere
    OtherPlaces,  ///< other places of this kind; whether references as well cannot be told
  };

  /// Not to be called beside store(), nor for an empty place.
  Holders otherHolders() const noexcept {
    const std::uint64_t word = word_.load(std::memory_order_acquire);
    const std::int64_t others = address(word)->referenceCount() - (stock - taken(word));
    return others == 0 ? Holders::None : others < stock / 2 ? Holders::References : Holders::OtherPlaces;
  }

  /// The object itself, which stays as long as nobody calls store().
  T* peek() const noexcept { return address(word_.load(std::memory_order_acquire)); }

private:
  static constexpr std::uint64_t oneTaken = std::uint64_t{1} << 48;
  static constexpr std::int64_t stock = 1 << 16;
  static constexpr std::int64_t refillAt = 1 << 14;

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
