#include "hxroi/detail/packLabel.h"

#include <bit>
#include <cstring>

namespace hxroi {

namespace {

static_assert(std::endian::native == std::endian::little, "the byte order of a word decides the order of its bits");

constexpr std::uint64_t kLowBits = 0x0101010101010101;
constexpr std::uint64_t kHighBits = 0x8080808080808080;

/// One byte for eight labels: the first label is the most significant bit, set where the label is the wanted one.
/// `wanted` holds that label in each of its bytes.
std::uint8_t equalBits(const std::uint8_t* labels, std::uint64_t wanted) {
  std::uint64_t word;
  std::memcpy(&word, labels, sizeof word);
  word ^= wanted;
  const std::uint64_t different = (((word & ~kHighBits) + ~kHighBits) | word) & kHighBits;
  const std::uint64_t equal = (different ^ kHighBits) >> 7;
  // Each factor bit moves the answer of one byte to its place in the top byte; no two of them ever meet.
  return static_cast<std::uint8_t>((equal * 0x8040201008040201) >> 56);
}

/// Bits of whole groups of eight labels; `count` is a multiple of eight.
void packEqual(const std::uint8_t* labels, std::size_t count, std::uint8_t label, std::uint8_t* bits) {
  const std::uint64_t wanted = kLowBits * label;
  std::size_t i = 0;
  for (; i + 64 <= count; i += 64) {
    std::uint8_t word[8];
    for (std::size_t k = 0; k < 8; ++k) word[k] = equalBits(labels + i + 8 * k, wanted);
    std::memcpy(bits + i / 8, word, sizeof word);
  }
  for (; i < count; i += 8) bits[i / 8] = equalBits(labels + i, wanted);
}

/// The last, incomplete byte: `count` is below eight, the bits behind the last label are clear.
std::uint8_t packTail(const std::uint8_t* labels, std::size_t count, std::uint8_t label) {
  std::uint8_t bits = 0;
  for (std::size_t i = 0; i < count; ++i) bits |= labels[i] == label ? 0x80 >> i : 0;
  return bits;
}

}  // namespace

void packLabel(const std::uint8_t* labels, std::size_t count, std::uint8_t label, std::uint8_t* bits) {
  const std::size_t whole = count & ~std::size_t{7};
  packEqual(labels, whole, label, bits);
  if (whole < count) bits[whole / 8] = packTail(labels + whole, count - whole, label);
}

}  // namespace hxroi
