#pragma once

#include <cstdint>

#include "quarn/voxora/bits/TruthTable.h"

namespace hxvoxora::detail {

/// The function of a truth table on 64 bits at once, known at compile time.
template <unsigned table>
struct Operation {
  static constexpr unsigned index = table;
  static constexpr bool isConstant = table == 0b0000 || table == 0b1111;
  static constexpr bool usesB = (table >> 1 & 0b0101) != (table & 0b0101);

  constexpr std::uint64_t operator()(std::uint64_t a, std::uint64_t b) const {
    switch (table) {
      case 0b0000:
        return 0;
      case 0b0001:
        return ~(a | b);
      case 0b0010:
        return ~a & b;
      case 0b0011:
        return ~a;
      case 0b0100:
        return a & ~b;
      case 0b0101:
        return ~b;
      case 0b0110:
        return a ^ b;
      case 0b0111:
        return ~(a & b);
      case 0b1000:
        return a & b;
      case 0b1001:
        return ~(a ^ b);
      case 0b1010:
        return b;
      case 0b1011:
        return ~a | b;
      case 0b1100:
        return a;
      case 0b1101:
        return a | ~b;
      case 0b1110:
        return a | b;
      default:
        return ~std::uint64_t{0};
    }
  }
};

template <TruthTable f>
constexpr Operation<static_cast<unsigned>(f)> operation;

/// Calls `call` with the Operation of a truth table.
template <typename Call, unsigned table = 0>
void withOperation(TruthTable f, Call&& call) {
  if (static_cast<unsigned>(f) == table)
    call(Operation<table>());
  else if constexpr (table < 15)
    withOperation<Call, table + 1>(f, static_cast<Call&&>(call));
}

}  // namespace hxvoxora::detail
