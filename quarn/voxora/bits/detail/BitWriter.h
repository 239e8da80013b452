#pragma once

#include <cstdint>

#include "quarn/voxora/bits/detail/Stretch.h"

namespace hxvoxora::detail {

/// Writes a stretch from its first bit on, piece by piece, in whole words: no word is read before it is written, and
/// pieces need not fit words. Bits beside the stretch keep their values.
class BitWriter {
public:
  BitWriter(void* bytes, std::uint64_t firstBit)
      : p_(static_cast<std::uint8_t*>(bytes) + (firstBit >> 3)), held_(firstBit & 7) {
    if (held_ != 0) pending_ = Word{*p_} << 56 & topBits(held_);
  }

  /// A stretch of which `held` bits, fewer than 64, are known but not written yet: those on top of `pending`, whose
  /// others are 0.
  BitWriter(std::uint8_t* place, Word pending, unsigned held) : p_(place), pending_(pending), held_(held) {}

  std::uint8_t* place() const { return p_; }
  Word pending() const { return pending_; }
  unsigned held() const { return held_; }

  /// The first n bits of a word, 1 <= n <= 64, whose others are 0.
  void append(Word word, unsigned n) {
    pending_ |= word >> held_;
    held_ += n;
    if (held_ < 64) return;
    storeWord(p_, pending_);
    p_ += 8;
    held_ -= 64;
    pending_ = held_ == 0 ? 0 : word << (n - held_);
  }

  /// Writes what is left; nothing may be appended afterwards.
  void finish() {
    for (; held_ >= 8; held_ -= 8, pending_ <<= 8) *p_++ = static_cast<std::uint8_t>(pending_ >> 56);
    if (held_ == 0) return;
    const Word behind = Word{*p_} << 56 & ~topBits(held_);
    *p_ = static_cast<std::uint8_t>((pending_ | behind) >> 56);
  }

private:
  std::uint8_t* p_;
  Word pending_ = 0;  // bits that are not written yet, from the top; the rest is 0
  unsigned held_;     // how many, below 64
};

}  // namespace hxvoxora::detail
