#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "quarn/base/export.h"

/// A row of bits, counted in 64 bits and packed 64 to a word. Indices are not checked.
///
/// Threads: any number may read; who writes is alone, since neighbouring bits share a word.
class QUARN_BASE_API McBitfield {
public:
  McBitfield() = default;
  explicit McBitfield(std::uint64_t size) { resize(size); }

  /// Makes it `size` bits, all of them 0. McException when they do not fit into memory; nothing is changed then.
  void resize(std::uint64_t size);

  std::uint64_t size() const noexcept { return size_; }

  bool get(std::uint64_t index) const noexcept { return (words_[wordOf(index)] & maskOf(index)) != 0; }
  void set(std::uint64_t index) noexcept { words_[wordOf(index)] |= maskOf(index); }
  void clear(std::uint64_t index) noexcept { words_[wordOf(index)] &= ~maskOf(index); }

  /// Sets or clears `count` bits from `first` on.
  void fill(std::uint64_t first, std::uint64_t count, bool value) noexcept;

  friend bool operator==(const McBitfield&, const McBitfield&) = default;

private:
  static constexpr std::uint64_t kBitsPerWord = 64;

  static std::size_t wordOf(std::uint64_t index) noexcept { return static_cast<std::size_t>(index / kBitsPerWord); }
  static std::uint64_t maskOf(std::uint64_t index) noexcept { return std::uint64_t{1} << (index % kBitsPerWord); }

  std::uint64_t size_ = 0;
  std::vector<std::uint64_t> words_;
};
