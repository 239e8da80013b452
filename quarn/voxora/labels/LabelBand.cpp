#include "quarn/voxora/labels/detail/LabelBand.h"

#include <algorithm>
#include <cstring>

#include "quarn/voxora/bits/BitRows.h"
#include "quarn/voxora/tiles/detail/tileEdits.h"

namespace hxvoxora::detail {

namespace {

constexpr std::int64_t voxelsAlongX = 512;
constexpr std::size_t bytesAtOnce = std::size_t{4} << 20;

}  // namespace

LabelBands::LabelBands(const TileGrid& grid)
    : grid_(grid),
      tilesAlongX_(grid.tilesOf(grid.box()).count(0)),
      tilesPerBand_(std::max<std::int64_t>(voxelsAlongX / grid.tileDimensions()[0], 1)),
      bandsAlongX_((tilesAlongX_ + tilesPerBand_ - 1) / tilesPerBand_),
      count_(grid.isEmpty() ? 0 : grid.tileCount() / tilesAlongX_ * bandsAlongX_) {}

std::int64_t LabelBands::voxels() const {
  return static_cast<std::int64_t>(grid_.tileByteSize()) * 8 * std::min(tilesPerBand_, tilesAlongX_);
}

std::int64_t LabelBands::firstTile(std::int64_t band) const {
  return band / bandsAlongX_ * tilesAlongX_ + band % bandsAlongX_ * tilesPerBand_;
}

std::int64_t LabelBands::tiles(std::int64_t band) const {
  return std::min(tilesPerBand_, tilesAlongX_ - band % bandsAlongX_ * tilesPerBand_);
}

LabelBand::LabelBand(const TileGrid& grid, std::int64_t firstTile, std::int64_t tiles, std::uint8_t* labels)
    : grid_(grid), labels_(labels) {
  for (std::int64_t tile = firstTile; tile < firstTile + tiles; ++tile)
    tiles_.push_back({tile, grid.tileBox(tile), {}});
}

bool LabelBand::write(std::span<const LabelledMask> masks, std::uint8_t overlap) {
  bool met = false;
  do {
    masks = masks.subspan(collect(masks));
    makeSegments();
    met |= writeRows(overlap);
    isFresh_ = false;
  } while (!masks.empty());
  return met;
}

/// The number of masks that are taken at once: all, when their bits are not too many.
std::size_t LabelBand::collect(std::span<const LabelledMask> masks) {
  for (Tile& tile : tiles_) tile.layers.clear();
  held_.clear();
  std::size_t taken = 0, bytes = 0;
  while (taken < masks.size() && bytes < bytesAtOnce) {
    const LabelledMask& mask = masks[taken++];
    for (Tile& tile : tiles_) bytes += addLayer(tile, mask);
  }
  return taken;
}

/// The bytes that are held for it.
std::size_t LabelBand::addLayer(Tile& tile, const LabelledMask& mask) {
  const TileSlot content = contentFrom(mask.content.table(), {grid_, tile.number, tile.box});
  if (!content.isReference()) {
    if (content.value()) tile.layers.push_back({nullptr, mask.label});
    return 0;
  }
  held_.push_back(content.cell().pinForOnce());
  tile.layers.push_back({reinterpret_cast<const std::uint8_t*>(held_.back()->bits()), mask.label});
  return grid_.tileByteSize();
}

void LabelBand::makeSegments() {
  segments_.clear();
  for (const Tile& tile : tiles_) {
    const bool isFull = tile.layers.size() == 1 && !tile.layers.front().bits;
    if (isFresh_ && (tile.layers.empty() || isFull)) {
      addFilled(tile, isFull ? tile.layers.front().label : std::uint8_t{0});
    } else if (!tile.layers.empty()) {
      segments_.push_back({tile.box.getMin()[0], static_cast<std::size_t>(tile.box.size(0)), &tile.layers, 0});
    }
  }
}

void LabelBand::addFilled(const Tile& tile, std::uint8_t label) {
  const auto count = static_cast<std::size_t>(tile.box.size(0));
  const bool goesOn = !segments_.empty() && !segments_.back().layers && segments_.back().label == label;
  if (goesOn) {
    segments_.back().count += count;
  } else {
    segments_.push_back({tile.box.getMin()[0], count, nullptr, label});
  }
}

bool LabelBand::writeRows(std::uint8_t overlap) const {
  bool met = false;
  const SbVec3i32& size = grid_.dimensions();
  const SbVec3i32 low = tiles_.front().box.getMin(), high = tiles_.front().box.getMax();
  const BitLayout layout = grid_.tileLayout(tiles_.front().number);
  for (int z = low[2]; z <= high[2]; ++z)
    for (int y = low[1]; y <= high[1]; ++y) {
      std::uint8_t* const row = labels_ + (std::int64_t{z} * size[1] + y) * size[0];
      // The bits of a row lie at the same place in each tile.
      const std::size_t offset = layout.bit(low[0], y, z) / 8;
      for (const Segment& segment : segments_) {
        if (segment.layers) {
          met |= writeLabels(row + segment.x, segment.count, {*segment.layers, overlap, isFresh_}, offset);
        } else {
          std::memset(row + segment.x, segment.label, segment.count);
        }
      }
    }
  return met;
}

}  // namespace hxvoxora::detail
