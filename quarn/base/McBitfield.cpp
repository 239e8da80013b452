#include "quarn/base/McBitfield.h"

#include <algorithm>
#include <new>
#include <stdexcept>
#include <string>

#include "quarn/base/McException.h"

void McBitfield::resize(std::uint64_t size) {
  try {
    const std::uint64_t words = size / kBitsPerWord + (size % kBitsPerWord ? 1 : 0);
    words_ = std::vector<std::uint64_t>(static_cast<std::size_t>(words));
  } catch (const std::length_error&) {
    throw McException("A field of " + std::to_string(size) + " bits does not fit into memory");
  } catch (const std::bad_alloc&) {
    throw McException("A field of " + std::to_string(size) + " bits does not fit into memory");
  }
  size_ = size;
}

void McBitfield::fill(std::uint64_t first, std::uint64_t count, bool value) noexcept {
  for (const std::uint64_t end = first + count; first < end;) {
    const std::uint64_t inWord = std::min(end - first, kBitsPerWord - first % kBitsPerWord);
    const std::uint64_t mask = (~std::uint64_t{0} >> (kBitsPerWord - inWord)) << (first % kBitsPerWord);
    std::uint64_t& word = words_[wordOf(first)];
    word = value ? word | mask : word & ~mask;
    first += inWord;
  }
}
