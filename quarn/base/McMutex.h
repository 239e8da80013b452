#pragma once

#include <mutex>

/// A non-recursive mutex for members of copyable classes: a copy is a fresh, unlocked mutex, and assignment changes
/// nothing. Use it with std::lock_guard, std::unique_lock or std::scoped_lock.
class McMutex {
public:
  constexpr McMutex() noexcept = default;
  McMutex(const McMutex&) noexcept {}
  McMutex& operator=(const McMutex&) noexcept { return *this; }

  void lock() { mutex_.lock(); }
  void unlock() { mutex_.unlock(); }
  bool try_lock() { return mutex_.try_lock(); }

private:
  std::mutex mutex_;
};
