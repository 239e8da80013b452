#include "quarn/voxora/labels/joinLabels.h"

#include <algorithm>
#include <bit>
#include <cstddef>
#include <cstring>
#include <string>

#include "quarn/base/McException.h"
#include "quarn/voxora/tiles/detail/parallel.h"
#include "quarn/voxora/tiles/detail/tileEdits.h"

namespace hxvoxora {

namespace {

/// A byte of 0xFF for each set bit of eight, the most significant one first in memory.
std::uint64_t bytesOf(std::uint8_t bits) {
  static_assert(std::endian::native == std::endian::little, "the byte order of a word decides the order of its bits");
  // Each byte keeps the bit of its own place, and becomes all ones when that is set.
  const std::uint64_t own = bits * std::uint64_t{0x0101010101010101} & 0x0102040810204080;
  const std::uint64_t high = (own + 0x7F7F7F7F7F7F7F7F) & 0x8080808080808080;
  return (high >> 7) * 0xFF;
}

/// 0xFF in each byte that is not 0.
std::uint64_t markNonZero(std::uint64_t bytes) {
  const std::uint64_t high = (((bytes & 0x7F7F7F7F7F7F7F7F) + 0x7F7F7F7F7F7F7F7F) | bytes) & 0x8080808080808080;
  return (high >> 7) * 0xFF;
}

/// Writes the labels of one tile.
class TileWriter {
public:
  TileWriter(const TileGrid& grid, std::int64_t tile, std::uint8_t* labels, std::uint8_t overlap)
      : edit_{grid, tile, grid.tileBox(tile)},
        labels_(labels),
        overlap_(overlap * std::uint64_t{0x0101010101010101}),
        count_(static_cast<std::size_t>(edit_.part.size(0))) {}

  void clear() {
    forEachRow([this](int y, int z) { std::memset(row(y, z), 0, count_); });
  }

  void write(const LabelledMask& mask) {
    const detail::TileSlot content = detail::contentFrom(mask.content.table(), edit_);
    const std::uint64_t label = mask.label * std::uint64_t{0x0101010101010101};
    if (content.isReference()) {
      const Ref<const TilePayload> payload = content.cell().pin();
      const auto* const bits = reinterpret_cast<const std::uint8_t*>(payload->bits());
      const BitLayout layout = edit_.layout();
      forEachRow(
          [&](int y, int z) { writeRow(row(y, z), bits + layout.bit(edit_.part.getMin()[0], y, z) / 8, label); });
    } else if (content.value()) {
      forEachRow([&](int y, int z) { writeRow(row(y, z), nullptr, label); });
    }
  }

private:
  template <class Visit>
  void forEachRow(Visit visit) const {
    const SbVec3i32 low = edit_.part.getMin(), high = edit_.part.getMax();
    for (int z = low[2]; z <= high[2]; ++z)
      for (int y = low[1]; y <= high[1]; ++y) visit(y, z);
  }

  std::uint8_t* row(int y, int z) const {
    const SbVec3i32& size = edit_.grid.dimensions();
    return labels_ + (std::int64_t{z} * size[1] + y) * size[0] + edit_.part.getMin()[0];
  }

  /// Without bits all voxels of the row are set.
  void writeRow(std::uint8_t* row, const std::uint8_t* bits, std::uint64_t label) const {
    const std::size_t whole = count_ & ~std::size_t{63};
    for (std::size_t x = 0; x < whole; x += 64) {
      std::uint64_t word = ~std::uint64_t{0};
      if (bits) std::memcpy(&word, bits + x / 8, sizeof word);
      for (std::size_t i = 0; word != 0; i += 8, word >>= 8) {
        if (const auto eight = static_cast<std::uint8_t>(word)) writeEight(row + x + i, 8, eight, label);
      }
    }
    for (std::size_t x = whole; x < count_; x += 8) {
      const std::uint8_t eight = bits ? bits[x / 8] : std::uint8_t{0xFF};
      if (eight != 0) writeEight(row + x, std::min<std::size_t>(count_ - x, 8), eight, label);
    }
  }

  void writeEight(std::uint8_t* voxels, std::size_t size, std::uint8_t bits, std::uint64_t label) const {
    std::uint64_t former = 0;
    std::memcpy(&former, voxels, size);
    const std::uint64_t set = bits == 0xFF ? ~std::uint64_t{0} : bytesOf(bits);
    std::uint64_t changed = (former & ~set) | (set & label);
    if (const std::uint64_t common = former & set) {
      const std::uint64_t taken = markNonZero(common);
      changed = (changed & ~taken) | (taken & overlap_);
    }
    std::memcpy(voxels, &changed, size);
  }

  const detail::TileEdit edit_;
  std::uint8_t* const labels_;
  const std::uint64_t overlap_;
  const std::size_t count_;
};

std::string textOf(const SbVec3i32& size) {
  return std::to_string(size[0]) + " x " + std::to_string(size[1]) + " x " + std::to_string(size[2]);
}

void requireSoundMasks(std::span<const LabelledMask> masks, const SbVec3i32& dimensions) {
  for (const LabelledMask& mask : masks) {
    if (mask.label == 0) throw McException("The label 0 stands for no mask");
    if (mask.content.dimensions() == dimensions) continue;
    throw McException("The mask of label " + std::to_string(mask.label) + " has " + textOf(mask.content.dimensions()) +
                      " voxels, the labels " + textOf(dimensions));
  }
}

}  // namespace

bool joinLabels(std::span<const LabelledMask> masks, std::uint8_t overlap, const SbVec3i32& dimensions,
                std::uint8_t* labels, const WorkCallback& callback) {
  requireSoundMasks(masks, dimensions);
  constexpr int edge = 64;
  const TileGrid grid = masks.empty() ? TileGrid(dimensions, {edge, edge, edge}) : masks.front().content.grid();
  constexpr std::int64_t tilesAtOnce = 64;
  for (std::int64_t first = 0; first < grid.tileCount(); first += tilesAtOnce) {
    if (callback && !callback(static_cast<double>(first) / static_cast<double>(grid.tileCount()))) return false;
    detail::parallelFor(std::min(tilesAtOnce, grid.tileCount() - first), [&](std::int64_t i) {
      TileWriter writer(grid, first + i, labels, overlap);
      writer.clear();
      for (const LabelledMask& mask : masks) writer.write(mask);
    });
  }
  return true;
}

}  // namespace hxvoxora
