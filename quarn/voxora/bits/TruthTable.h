#pragma once

#include <cstdint>

namespace hxvoxora {

/// A Boolean function of two operands as its truth table: bit (2 * a + b) of the value is f(a, b).
///
/// All sixteen values are valid; the named ones are those that callers ask for by name.
enum class TruthTable : std::uint8_t {
  Zero = 0b0000,
  AndNot = 0b0100,  ///< a and not b
  Xor = 0b0110,
  Or = 0b1110,
  And = 0b1000,
  CopyA = 0b1100,
  CopyB = 0b1010,
  NotA = 0b0011,
  NotB = 0b0101,
  One = 0b1111,
};

/// The value f(a, b).
constexpr bool apply(TruthTable f, bool a, bool b) {
  return (static_cast<unsigned>(f) >> (2u * static_cast<unsigned>(a) + static_cast<unsigned>(b)) & 1u) != 0;
}

}  // namespace hxvoxora
