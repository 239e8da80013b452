#include "quarn/voxora/labels/detail/labelRows.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

namespace hxvoxora::detail {

namespace {

constexpr std::size_t voxelsPerWord = 64;
constexpr std::uint64_t allSet = ~std::uint64_t{0};
constexpr std::uint64_t everyByte = 0x0101010101010101;

/// For each byte of bits a byte of 0xFF for every set one.
constexpr std::array<std::uint64_t, 256> makeSpreadBits() {
  static_assert(std::endian::native == std::endian::little, "the byte order of a word decides the order of its bits");
  std::array<std::uint64_t, 256> spread{};
  for (std::size_t bits = 0; bits < spread.size(); ++bits)
    for (std::size_t i = 0; i < 8; ++i)
      if (bits & (0x80U >> i)) spread[bits] |= std::uint64_t{0xFF} << (8 * i);
  return spread;
}
constexpr std::array<std::uint64_t, 256> spreadBits = makeSpreadBits();

/// 0xFF in each byte that is not 0.
std::uint64_t markNonZero(std::uint64_t bytes) {
  const std::uint64_t high = (((bytes & 0x7F7F7F7F7F7F7F7F) + 0x7F7F7F7F7F7F7F7F) | bytes) & 0x8080808080808080;
  return (high >> 7) * 0xFF;
}

void writeEight(std::uint8_t* voxels, std::size_t size, std::uint8_t bits, std::uint64_t label) {
  const std::uint64_t labels = spreadBits[bits] & label;
  std::memcpy(voxels, &labels, size);
}

/// True when a voxel had a label already.
bool addEight(std::uint8_t* voxels, std::size_t size, std::uint8_t bits, std::uint64_t label, std::uint64_t overlap) {
  std::uint64_t former = 0;
  std::memcpy(&former, voxels, size);
  const std::uint64_t set = size == 8 ? spreadBits[bits] : spreadBits[bits] & ((std::uint64_t{1} << (8 * size)) - 1);
  std::uint64_t changed = (former & ~set) | (set & label);
  const std::uint64_t common = former & set;
  if (common != 0) {
    const std::uint64_t taken = markNonZero(common);
    changed = (changed & ~taken) | (taken & overlap);
  }
  std::memcpy(voxels, &changed, size);
  return common != 0;
}

std::uint64_t wordOf(const std::uint8_t* bits, std::size_t x) {
  std::uint64_t word = allSet;
  if (bits) std::memcpy(&word, bits + x / 8, sizeof word);
  return word;
}

std::uint8_t byteOf(const std::uint8_t* bits, std::size_t x) {
  return bits ? bits[x / 8] : std::uint8_t{0xFF};
}

}  // namespace

void writeLabels(std::uint8_t* row, std::size_t count, const std::uint8_t* bits, std::uint8_t label) {
  const std::uint64_t labels = label * everyByte;
  const std::size_t whole = count - count % voxelsPerWord;
  for (std::size_t x = 0; x < whole; x += voxelsPerWord) {
    const std::uint64_t word = wordOf(bits, x);
    if (word == 0 || word == allSet) {
      std::memset(row + x, word == 0 ? 0 : label, voxelsPerWord);
    } else {
      for (std::size_t i = 0; i < voxelsPerWord; i += 8)
        writeEight(row + x + i, 8, static_cast<std::uint8_t>(word >> i), labels);
    }
  }
  for (std::size_t x = whole; x < count; x += 8)
    writeEight(row + x, std::min<std::size_t>(count - x, 8), byteOf(bits, x), labels);
}

bool addLabels(std::uint8_t* row, std::size_t count, const std::uint8_t* bits, std::uint8_t label,
               std::uint8_t overlap) {
  const std::uint64_t labels = label * everyByte, overlaps = overlap * everyByte;
  const std::size_t whole = count - count % voxelsPerWord;
  bool met = false;
  for (std::size_t x = 0; x < whole; x += voxelsPerWord) {
    std::uint64_t word = wordOf(bits, x);
    for (std::size_t i = 0; word != 0; i += 8, word >>= 8)
      if (const auto eight = static_cast<std::uint8_t>(word)) met |= addEight(row + x + i, 8, eight, labels, overlaps);
  }
  for (std::size_t x = whole; x < count; x += 8)
    if (const std::uint8_t eight = byteOf(bits, x))
      met |= addEight(row + x, std::min<std::size_t>(count - x, 8), eight, labels, overlaps);
  return met;
}

}  // namespace hxvoxora::detail
