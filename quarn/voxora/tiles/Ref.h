#pragma once

#include <cstddef>
#include <utility>

namespace hxvoxora {

/// Holds one reference to a Counted object, or none. T may be const.
template <typename T>
class Ref {
public:
  Ref() = default;
  Ref(std::nullptr_t) {}
  explicit Ref(T* object) : object_(object) {
    if (object_) object_->ref();
  }
  Ref(const Ref& other) : Ref(other.object_) {}
  Ref(Ref&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
  template <typename U>
  Ref(const Ref<U>& other) : Ref(other.get()) {}
  template <typename U>
  Ref(Ref<U>&& other) noexcept : object_(other.release()) {}
  ~Ref() {
    if (object_) object_->unref();
  }

  Ref& operator=(Ref other) noexcept {
    std::swap(object_, other.object_);
    return *this;
  }

  /// Takes over a reference that the caller holds.
  static Ref adopt(T* object) noexcept {
    Ref ref;
    ref.object_ = object;
    return ref;
  }

  /// Gives the reference to the caller.
  T* release() noexcept { return std::exchange(object_, nullptr); }

  T* get() const noexcept { return object_; }
  T& operator*() const noexcept { return *object_; }
  T* operator->() const noexcept { return object_; }
  explicit operator bool() const noexcept { return object_ != nullptr; }
  friend bool operator==(const Ref& a, const Ref& b) noexcept { return a.object_ == b.object_; }

private:
  T* object_ = nullptr;
};

/// Makes an object and the first reference to it.
template <typename T, typename... Arguments>
Ref<T> makeRef(Arguments&&... arguments) {
  return Ref<T>(new T(std::forward<Arguments>(arguments)...));
}

}  // namespace hxvoxora
