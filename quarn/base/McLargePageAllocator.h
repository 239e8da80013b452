#pragma once

#include <cstddef>
#include <limits>
#include <new>

#include "quarn/base/export.h"

/// Memory of `bytes` bytes that is asked for in large pages when there is enough of it to fill some: large arrays are
/// then touched for the first time many times faster. Throws std::bad_alloc.
QUARN_BASE_API void* mcAllocateLargePages(std::size_t bytes);
/// Gives it back; `bytes` as it was asked for.
QUARN_BASE_API void mcFreeLargePages(void* memory, std::size_t bytes) noexcept;

/// Allocator of containers that may become large.
template <class T>
struct McLargePageAllocator {
  using value_type = T;

  McLargePageAllocator() = default;
  template <class U>
  McLargePageAllocator(const McLargePageAllocator<U>&) noexcept {}

  T* allocate(std::size_t count) {
    if (count > std::numeric_limits<std::size_t>::max() / sizeof(T)) throw std::bad_array_new_length();
    return static_cast<T*>(mcAllocateLargePages(count * sizeof(T)));
  }
  void deallocate(T* memory, std::size_t count) noexcept { mcFreeLargePages(memory, count * sizeof(T)); }

  template <class U>
  friend bool operator==(const McLargePageAllocator&, const McLargePageAllocator<U>&) noexcept {
    return true;
  }
};
