#include "quarn/voxora/labels/joinLabels.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "quarn/base/McException.h"
#include "quarn/voxora/labels/detail/TileRows.h"
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

constexpr std::uint64_t allVoxels = ~std::uint64_t{0};
constexpr std::size_t voxelsPerWord = 64;

/// A label in all bytes of a word.
std::uint64_t repeated(std::uint8_t label) {
  return label * std::uint64_t{0x0101010101010101};
}

/// The labels of 64 voxels.
using Labels = std::array<std::uint64_t, 8>;

/// Gives the voxels that are set, in packed order, a label; they have none yet.
void paint(Labels& labels, std::uint64_t set, std::uint64_t label) {
  for (std::size_t i = 0; set != 0; ++i, set >>= 8) labels[i] |= bytesOf(static_cast<std::uint8_t>(set)) & label;
}

/// What a mask has in a tile.
struct MaskPart {
  detail::TileSlot content;
  Ref<const TilePayload> payload;      ///< null: all voxels are set
  const std::uint8_t* bits = nullptr;  ///< those of the payload
  std::uint64_t label = 0;             ///< in all bytes
};

/// Writes the labels of tiles that follow each other along x, one row of voxels of all of them after the other.
class RowWriter {
public:
  RowWriter(const TileGrid& grid, const detail::TileRows::Piece& piece, std::uint8_t* labels, std::uint8_t overlap)
      : grid_(grid),
        labels_(labels),
        overlap_(repeated(overlap)),
        rowBytes_(static_cast<std::size_t>(grid.tileDimensions()[0]) / 8),
        tiles_(static_cast<std::size_t>(piece.tiles)) {
    for (std::int64_t i = 0; i < piece.tiles; ++i) {
      Tile& tile = tiles_[static_cast<std::size_t>(i)];
      tile.number = piece.firstTile + i;
      tile.box = grid.tileBox(tile.number);
    }
  }

  /// The bits of some masks are in memory together, those of the others wait for the next round.
  void write(std::span<const LabelledMask> masks) {
    bool isFirst = true;
    std::size_t next = 0;
    do {
      for (Tile& tile : tiles_) tile.parts.clear();
      for (std::size_t bytes = 0; next < masks.size() && bytes < mostBytes; ++next) bytes += take(masks[next]);
      forEachRow([&](const Tile& tile, int y, int z) { writeRow(tile, y, z, isFirst); });
      isFirst = false;
    } while (next < masks.size());
  }

private:
  static constexpr std::size_t mostBytes = std::size_t{16} << 20;

  struct Tile {
    std::int64_t number = 0;
    SbBox3i32 box;
    std::vector<MaskPart> parts;
  };

  /// Returns the bytes that it holds in memory.
  std::size_t take(const LabelledMask& mask) {
    std::size_t bytes = 0;
    for (Tile& tile : tiles_) {
      MaskPart part{detail::contentFrom(mask.content.table(), {grid_, tile.number, tile.box}), {}, nullptr, 0};
      if (!part.content.isReference() && !part.content.value()) continue;
      part.label = repeated(mask.label);
      if (part.content.isReference()) {
        part.payload = part.content.cell().pin();
        part.bits = reinterpret_cast<const std::uint8_t*>(part.payload->bits());
        bytes += part.payload->byteSize();
      }
      tile.parts.push_back(std::move(part));
    }
    return bytes;
  }

  template <class Visit>
  void forEachRow(Visit visit) const {
    const SbVec3i32 low = tiles_.front().box.getMin(), high = tiles_.front().box.getMax();
    for (int z = low[2]; z <= high[2]; ++z)
      for (int y = low[1]; y <= high[1]; ++y)
        for (const Tile& tile : tiles_) visit(tile, y, z);
  }

  void writeRow(const Tile& tile, int y, int z, bool isFirst) const {
    if (tile.parts.empty() && !isFirst) return;
    const SbVec3i32 low = tile.box.getMin();
    const SbVec3i32& size = grid_.dimensions();
    std::uint8_t* const row = labels_ + (std::int64_t{z} * size[1] + y) * size[0] + low[0];
    const auto count = static_cast<std::size_t>(tile.box.size(0));
    const auto slice = static_cast<std::size_t>(z - low[2]) * static_cast<std::size_t>(grid_.tileDimensions()[1]);
    const std::size_t offset = (slice + static_cast<std::size_t>(y - low[1])) * rowBytes_;
    for (std::size_t x = 0; x < count; x += voxelsPerWord) {
      const std::size_t voxels = std::min(count - x, voxelsPerWord);
      Labels labels{};
      merge(tile, offset + x / 8, labels);
      if (!isFirst) addTo(row + x, voxels, labels);
      if (voxels == voxelsPerWord)
        std::memcpy(row + x, labels.data(), sizeof labels);
      else
        std::memcpy(row + x, labels.data(), voxels);
    }
  }

  /// The labels of 64 voxels, or of as many as a row of the tile has.
  void merge(const Tile& tile, std::size_t offset, Labels& labels) const {
    std::uint64_t any = 0, several = 0;
    for (const MaskPart& part : tile.parts) {
      const std::uint64_t set = bitsOf(part, offset);
      several |= any & set;
      any |= set;
    }
    if (any == 0) return;
    for (const MaskPart& part : tile.parts) {
      const std::uint64_t own = bitsOf(part, offset) & ~several;
      if (own == allVoxels) {
        labels.fill(part.label);
        return;
      }
      paint(labels, own, part.label);
    }
    paint(labels, several, overlap_);
  }

  std::uint64_t bitsOf(const MaskPart& part, std::size_t offset) const {
    if (!part.bits) return allVoxels;
    std::uint64_t set = 0;
    if (rowBytes_ >= sizeof set)
      std::memcpy(&set, part.bits + offset, sizeof set);
    else
      std::memcpy(&set, part.bits + offset, sizeof(std::uint32_t));
    return set;
  }

  /// Joins labels with those that former rounds have written.
  void addTo(const std::uint8_t* row, std::size_t voxels, Labels& labels) const {
    Labels former{};
    std::memcpy(former.data(), row, voxels);
    for (std::size_t i = 0; i < labels.size(); ++i) {
      const std::uint64_t both = markNonZero(former[i]) & markNonZero(labels[i]);
      labels[i] = ((former[i] | labels[i]) & ~both) | (both & overlap_);
    }
  }

  const TileGrid& grid_;
  std::uint8_t* const labels_;
  const std::uint64_t overlap_;
  const std::size_t rowBytes_;  ///< of bits
  std::vector<Tile> tiles_;
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
  const detail::TileRows rows(grid);
  const std::int64_t piecesAtOnce = 8 * tbb::this_task_arena::max_concurrency();
  for (std::int64_t first = 0; first < rows.count(); first += piecesAtOnce) {
    if (callback && !callback(static_cast<double>(first) / static_cast<double>(rows.count()))) return false;
    detail::parallelFor(std::min(piecesAtOnce, rows.count() - first),
                        [&](std::int64_t i) { RowWriter(grid, rows[first + i], labels, overlap).write(masks); });
  }
  return true;
}

}  // namespace hxvoxora
