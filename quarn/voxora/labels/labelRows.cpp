#include "quarn/voxora/labels/detail/labelRows.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstring>
#include <type_traits>

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

/// A part of a row of at most 64 voxels.
class RowPart {
public:
  RowPart(std::uint8_t* voxels, std::size_t count) : voxels_(voxels), count_(count) {}

  void clear() const { std::memset(voxels_, 0, count_); }

  /// Set voxels become `label`, the others 0.
  void replace(std::uint64_t word, std::uint8_t label) const {
    if (word == allSet) {
      std::memset(voxels_, label, count_);
      return;
    }
    const std::uint64_t labels = label * everyByte;
    forEachEight([&](std::size_t x, std::size_t size) {
      const std::uint64_t eight = spreadBits[static_cast<std::uint8_t>(word >> x)] & labels;
      std::memcpy(voxels_ + x, &eight, size);
    });
  }

  /// True when a voxel had a label already.
  bool add(std::uint64_t word, std::uint8_t label, std::uint8_t overlap) const {
    const std::uint64_t labels = label * everyByte, overlaps = overlap * everyByte;
    bool met = false;
    forEachEight([&](std::size_t x, std::size_t size) {
      const std::uint64_t set = spreadBits[static_cast<std::uint8_t>(word >> x)];
      if (set == 0) return;
      std::uint64_t former = 0;
      std::memcpy(&former, voxels_ + x, size);
      const std::uint64_t common = former & set;
      std::uint64_t changed = (former & ~set) | (set & labels);
      if (common != 0) {
        const std::uint64_t taken = markNonZero(common);
        changed = (changed & ~taken) | (taken & overlaps);
        met = true;
      }
      std::memcpy(voxels_ + x, &changed, size);
    });
    return met;
  }

private:
  template <class Visit>
  void forEachEight(Visit visit) const {
    if (count_ == voxelsPerWord) {
      for (std::size_t x = 0; x < voxelsPerWord; x += 8) visit(x, std::integral_constant<std::size_t, 8>());
    } else {
      for (std::size_t x = 0; x < count_; x += 8) visit(x, std::min<std::size_t>(count_ - x, 8));
    }
  }

  std::uint8_t* const voxels_;
  const std::size_t count_;
};

/// The bits of some voxels; those behind the last one are anything within their byte, and 0 behind it.
std::uint64_t wordOf(const RowLayer& layer, std::size_t offset, std::size_t count) {
  if (!layer.bits) return allSet;
  std::uint64_t word = 0;
  if (count == voxelsPerWord) {
    std::memcpy(&word, layer.bits + offset, sizeof word);
  } else {
    std::memcpy(&word, layer.bits + offset, (count + 7) / 8);
  }
  return word;
}

}  // namespace

bool writeLabels(std::uint8_t* row, std::size_t count, const RowLayers& source, std::size_t offset) {
  bool met = false;
  for (std::size_t x = 0; x < count; x += voxelsPerWord) {
    const std::size_t size = std::min(count - x, voxelsPerWord);
    const RowPart part(row + x, size);
    bool replaces = source.replaces;
    for (const RowLayer& layer : source.layers) {
      const std::uint64_t word = wordOf(layer, offset + x / 8, size);
      if (word == 0) continue;
      if (replaces) {
        part.replace(word, layer.label);
      } else {
        met |= part.add(word, layer.label, source.overlap);
      }
      replaces = false;
    }
    if (replaces) part.clear();
  }
  return met;
}

}  // namespace hxvoxora::detail
