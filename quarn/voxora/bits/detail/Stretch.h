#pragma once

#include <atomic>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace hxvoxora::detail {

/// 64 bits of a stretch, the first one in the most significant bit.
using Word = std::uint64_t;

/// How a byte that is only partly ours is written.
enum class Edge { Plain, Shared };

template <typename Unit>
Unit loadNative(const std::uint8_t* p) {
  Unit unit;
  std::memcpy(&unit, p, sizeof(unit));
  return unit;
}

template <typename Unit>
void storeNative(std::uint8_t* p, Unit unit) {
  std::memcpy(p, &unit, sizeof(unit));
}

/// Turns bytes in memory order into a number with the first byte on top, and back.
template <typename Unit>
constexpr Unit ordered(Unit unit) {
  if constexpr (std::endian::native == std::endian::big || sizeof(Unit) == 1) return unit;
  if constexpr (sizeof(Unit) == 2) return __builtin_bswap16(unit);
  if constexpr (sizeof(Unit) == 4) return __builtin_bswap32(unit);
  if constexpr (sizeof(Unit) == 8) return __builtin_bswap64(unit);
}

template <typename Unit>
Unit loadOrdered(const std::uint8_t* p) {
  return ordered(loadNative<Unit>(p));
}

template <typename Unit>
void storeOrdered(std::uint8_t* p, Unit unit) {
  storeNative(p, ordered(unit));
}

inline Word loadWord(const std::uint8_t* p) {
  return loadOrdered<Word>(p);
}
inline void storeWord(std::uint8_t* p, Word word) {
  storeOrdered(p, word);
}

/// A word with its first n bits set, 1 <= n <= 64.
constexpr Word topBits(unsigned n) {
  return ~Word{0} << (64 - n);
}

/// The bits of `mask` in a byte become op(bit, other); the other bits stay, also when another thread changes them now.
template <Edge edge, typename Operation>
void updateByte(std::uint8_t* p, std::uint8_t mask, Word other, Operation op) {
  const auto merged = [&](std::uint8_t old) {
    return static_cast<std::uint8_t>((old & ~mask) | (op(old, other) & mask));
  };
  if constexpr (edge == Edge::Plain) {
    *p = merged(*p);
  } else {
    const std::atomic_ref<std::uint8_t> byte(*p);
    std::uint8_t old = byte.load(std::memory_order_relaxed);
    while (!byte.compare_exchange_weak(old, merged(old), std::memory_order_relaxed)) {
    }
  }
}

/// n bits from the top of the first byte on, 1 <= n <= 64, in the upper end of a word; what follows them there is
/// anything. Only the bytes that hold them are read.
inline Word loadTop(const std::uint8_t* p, unsigned n) {
  const unsigned byteCount = (n + 7) / 8;
  const auto joined = [&]<typename Unit>(Unit) {
    // The two loads overlap where the count of bytes is no power of two.
    constexpr unsigned bits = 8 * sizeof(Unit);
    return Word{loadOrdered<Unit>(p)} << (64 - bits) | Word{loadOrdered<Unit>(p + byteCount - sizeof(Unit))}
                                                           << (64 - 8 * byteCount);
  };
  if (byteCount == 8) return loadWord(p);
  if (byteCount >= 4) return joined(std::uint32_t{});
  if (byteCount >= 2) return joined(std::uint16_t{});
  return Word{*p} << 56;
}

/// Whole words of a stretch in memory order, one after the other from a place on. A word that starts inside a byte is
/// put together from two loads: shifting bytes of a number in memory order moves bits as in a longer byte.
class SourceWords {
public:
  SourceWords(const std::uint8_t* p, unsigned shift) : p_(p), shift_(shift) {}

  static constexpr Word everyByte(unsigned byte) { return 0x0101010101010101 * Word{byte}; }

  const std::uint8_t* firstByte() const { return p_; }
  unsigned shift() const { return shift_; }
  SourceWords from(std::size_t i) const { return {p_ + 8 * i, shift_}; }

  bool isByteAligned() const { return shift_ == 0; }
  Word aligned(std::size_t i) const { return loadNative<Word>(p_ + 8 * i); }
  Word shifted(std::size_t i) const {
    return (loadNative<Word>(p_ + 8 * i) << shift_ & everyByte(0xffu << shift_ & 0xffu)) |
           (loadNative<Word>(p_ + 8 * i + 1) >> (8 - shift_) & everyByte(0xffu >> (8 - shift_)));
  }

private:
  const std::uint8_t* p_;
  unsigned shift_;
};

/// A stretch that is read. Places count from its first bit; only bytes that hold the wanted bits are touched.
class SourceBits {
public:
  SourceBits(const void* bytes, std::uint64_t firstBit)
      : bytes_(static_cast<const std::uint8_t*>(bytes)), firstBit_(firstBit) {}

  SourceWords words(std::uint64_t place) const { return {at(place), shiftAt(place)}; }

  /// From a place to the next byte; 0 where one begins.
  unsigned bitsToByteBoundary(std::uint64_t place) const { return (8 - shiftAt(place)) & 7; }

  /// n bits, 1 <= n <= 64, in the upper end of a word; the rest is 0.
  Word part(std::uint64_t place, unsigned n) const {
    const std::uint8_t* p = at(place);
    const unsigned shift = shiftAt(place);
    if (shift + n <= 64) return loadTop(p, shift + n) << shift & topBits(n);
    return (loadWord(p) << shift | Word{p[8]} >> (8 - shift)) & topBits(n);
  }

private:
  const std::uint8_t* at(std::uint64_t place) const { return bytes_ + ((firstBit_ + place) >> 3); }
  unsigned shiftAt(std::uint64_t place) const { return static_cast<unsigned>((firstBit_ + place) & 7); }

  const std::uint8_t* bytes_;
  std::uint64_t firstBit_;
};

/// Stands where a pass has no source.
struct NoBits {
  struct Words {
    operator SourceWords() const { return {nullptr, 0}; }
    bool isByteAligned() const { return true; }
    Word aligned(std::size_t) const { return 0; }
    Word shifted(std::size_t) const { return 0; }
  };
  Words words(std::uint64_t) const { return {}; }
  Word part(std::uint64_t, unsigned) const { return 0; }
};

}  // namespace hxvoxora::detail
