#pragma once

#include <utility>

namespace hxvoxora::detail {

/// Owner of a POSIX file descriptor.
class Descriptor {
public:
  explicit Descriptor(int number = -1) : number_(number) {}
  Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  Descriptor& operator=(Descriptor&&) = delete;
  /// Closes without reporting failures.
  ~Descriptor();

  int get() const { return number_; }
  bool isOpen() const { return number_ >= 0; }

  /// Closes now. Returns 0 or the error number; the descriptor is gone either way.
  int close();

private:
  int number_;
};

}  // namespace hxvoxora::detail
