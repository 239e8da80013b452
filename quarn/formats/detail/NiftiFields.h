#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>

namespace quarn::formats::detail {

/// Fields of a NIfTI header by their byte offset, in the byte order that makes sense of its first field.
class NiftiFields {
public:
  static constexpr std::size_t size = 348;
  static constexpr std::int32_t firstVersionSize = 348;
  static constexpr std::int32_t secondVersionSize = 540;

  /// The bytes must outlive the object.
  explicit NiftiFields(std::span<const std::byte, size> bytes) : bytes_(bytes) {
    isSwapped_ = headerSize() != firstVersionSize && headerSize() != secondVersionSize;
  }

  std::int32_t headerSize() const { return get<std::int32_t>(0); }

  /// Whether the file has the other byte order than this machine.
  bool isSwapped() const { return isSwapped_; }

  template <typename T>
  T get(std::size_t offset) const {
    std::array<std::byte, sizeof(T)> raw;
    std::memcpy(raw.data(), bytes_.data() + offset, sizeof(T));
    if (isSwapped_) std::reverse(raw.begin(), raw.end());
    return std::bit_cast<T>(raw);
  }

  std::string_view text(std::size_t offset, std::size_t length) const {
    return {reinterpret_cast<const char*>(bytes_.data()) + offset, length};
  }

private:
  std::span<const std::byte, size> bytes_;
  bool isSwapped_ = false;
};

}  // namespace quarn::formats::detail
