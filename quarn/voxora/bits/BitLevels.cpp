#include "quarn/voxora/bits/BitLevels.h"

#include <cstdint>

#include "quarn/voxora/bits/detail/Stretch.h"

namespace hxvoxora {

namespace {

/// The bits of every pair of neighbours joined; the first pair in the top bit of the lower half.
template <typename Unit>
Unit joinPairs(Unit bits) {
  constexpr auto pattern = [](std::uint64_t p) { return static_cast<Unit>(p); };
  bits = (bits | bits >> 1) & pattern(0x5555555555555555);
  bits = (bits | bits >> 1) & pattern(0x3333333333333333);
  bits = (bits | bits >> 2) & pattern(0x0f0f0f0f0f0f0f0f);
  bits = (bits | bits >> 4) & pattern(0x00ff00ff00ff00ff);
  bits = (bits | bits >> 8) & pattern(0x0000ffff0000ffff);
  if constexpr (sizeof(Unit) == 8) bits = (bits | bits >> 16) & pattern(0x00000000ffffffff);
  return bits;
}

template <typename Unit, typename Half>
void halveUnit(std::uint8_t* dst, const std::uint8_t* const (&rows)[4], std::size_t at) {
  Unit all = 0;
  for (const std::uint8_t* row : rows) all |= detail::loadOrdered<Unit>(row + at);
  detail::storeOrdered(dst + at / 2, static_cast<Half>(joinPairs(all)));
}

}  // namespace

void halveRows(void* dst, const void* row0, const void* row1, const void* row2, const void* row3,
               std::size_t byteCount) {
  const auto bytes = [](const void* p) { return static_cast<const std::uint8_t*>(p); };
  const std::uint8_t* const rows[4] = {bytes(row0), bytes(row1), bytes(row2), bytes(row3)};
  auto* const out = static_cast<std::uint8_t*>(dst);
  std::size_t at = 0;
  for (; at + 8 <= byteCount; at += 8) halveUnit<std::uint64_t, std::uint32_t>(out, rows, at);
  if (at < byteCount) halveUnit<std::uint32_t, std::uint16_t>(out, rows, at);
}

}  // namespace hxvoxora
