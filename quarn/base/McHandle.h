#pragma once

#include <compare>
#include <concepts>
#include <cstddef>
#include <utility>

/// A reference to a McHandable, or null. It counts as one reference as long as it points to the object.
///
/// Handles convert from and to raw pointers by themselves. Comparisons go by address and accept raw pointers as they
/// are: no temporary handle is made, which would delete an object that nobody refers to yet. Containers that are
/// searched by raw pointer need the transparent `std::less<>` for the same reason.
///
/// Different handles to one object may be used from different threads; a single handle may not.
template <class T>
class McHandle {
public:
  constexpr McHandle() noexcept = default;
  constexpr McHandle(std::nullptr_t) noexcept {}
  McHandle(T* object) noexcept : object_(object) { acquire(); }
  McHandle(const McHandle& other) noexcept : McHandle(other.object_) {}
  McHandle(McHandle&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
  template <class U>
  requires std::convertible_to<U*, T*> McHandle(const McHandle<U>& other)
  noexcept : McHandle(static_cast<T*>(other.get())) {}
  ~McHandle() { release(object_); }

  /// The old object is released last, so that its destruction finds the handle as it shall be.
  McHandle& operator=(McHandle other) noexcept {
    std::swap(object_, other.object_);
    return *this;
  }

  void reset() { release(std::exchange(object_, nullptr)); }

  T* get() const noexcept { return object_; }
  T* operator->() const noexcept { return object_; }
  T& operator*() const noexcept { return *object_; }
  operator T*() const noexcept { return object_; }

  bool operator==(std::nullptr_t) const noexcept { return !object_; }
  template <class U>
  bool operator==(U* other) const noexcept {
    return object_ == other;
  }
  template <class U>
  bool operator==(const McHandle<U>& other) const noexcept {
    return object_ == other.get();
  }
  template <class U>
  std::strong_ordering operator<=>(U* other) const noexcept {
    return std::compare_three_way()(object_, other);
  }
  template <class U>
  std::strong_ordering operator<=>(const McHandle<U>& other) const noexcept {
    return std::compare_three_way()(object_, other.get());
  }

private:
  void acquire() const noexcept {
    if (object_) object_->ref();
  }
  static void release(T* object) {
    if (object) object->unref();
  }

  T* object_ = nullptr;
};
