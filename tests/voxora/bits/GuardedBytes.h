#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <sys/mman.h>
#include <vector>

/// Memory between two pages that nobody may touch: an array at one of its ends shows every access beyond that end as a
/// crash. What is left of the memory holds a pattern that must not change.
class GuardedBytes {
public:
  enum class End { Front, Back };

  GuardedBytes() {
    void* const memory = ::mmap(nullptr, size + 2 * page, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) throw std::runtime_error("cannot map memory");
    memory_ = static_cast<std::uint8_t*>(memory);
    if (::mprotect(begin(), size, PROT_READ | PROT_WRITE) != 0) throw std::runtime_error("cannot unlock memory");
    std::memset(begin(), pattern, size);
  }
  ~GuardedBytes() { ::munmap(memory_, size + 2 * page); }
  GuardedBytes(const GuardedBytes&) = delete;
  GuardedBytes& operator=(const GuardedBytes&) = delete;

  /// Puts an array at an end of the memory, in place of the one before.
  std::uint8_t* place(const std::vector<std::uint8_t>& bytes, End end) {
    if (bytes.size() > size) throw std::length_error("the array is too long");
    if (count_ != 0) std::memset(array_, pattern, count_);
    count_ = bytes.size();
    array_ = end == End::Front ? begin() : begin() + size - count_;
    if (count_ != 0) std::memcpy(array_, bytes.data(), count_);
    return array_;
  }

  std::vector<std::uint8_t> content() const { return {array_, array_ + count_}; }

  /// Whether the bytes next to the array still hold the pattern.
  bool isSurroundingIntact() const {
    constexpr std::ptrdiff_t reach = 128;
    for (std::ptrdiff_t i = -reach; i < static_cast<std::ptrdiff_t>(count_) + reach; ++i) {
      const std::uint8_t* const byte = array_ + i;
      const bool isOurs = i >= 0 && i < static_cast<std::ptrdiff_t>(count_);
      if (!isOurs && byte >= begin() && byte < begin() + size && *byte != pattern) return false;
    }
    return true;
  }

private:
  static constexpr std::size_t page = 65536, size = page;
  static constexpr std::uint8_t pattern = 0xa5;

  std::uint8_t* begin() const { return memory_ + page; }

  std::uint8_t* memory_ = nullptr;
  std::uint8_t* array_ = nullptr;
  std::size_t count_ = 0;
};
