#include "quarn/voxora/labels/detail/LabelBand.h"

#include <algorithm>
#include <cstring>

#include "quarn/voxora/labels/detail/labelRows.h"
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
    tiles_.push_back({tile, grid.tileBox(tile), grid.tileLayout(tile), {}});
}

bool LabelBand::write(std::span<const LabelledMask> masks, std::uint8_t overlap) {
  bool met = false, isFirst = true;
  do {
    masks = masks.subspan(collect(masks));
    met |= writeLayers(isFirst, overlap);
    isFirst = false;
  } while (!masks.empty());
  return met;
}

/// The number of masks that are taken at once: all, when their bits are not too many.
std::size_t LabelBand::collect(std::span<const LabelledMask> masks) {
  for (Tile& tile : tiles_) tile.layers.clear();
  std::size_t taken = 0, bytes = 0;
  while (taken < masks.size() && bytes < bytesAtOnce) {
    const LabelledMask& mask = masks[taken++];
    for (Tile& tile : tiles_) bytes += addLayer(tile, mask);
  }
  return taken;
}

/// The bytes that are held for it.
std::size_t LabelBand::addLayer(Tile& tile, const LabelledMask& mask) const {
  const TileSlot content = contentFrom(mask.content.table(), {grid_, tile.number, tile.box});
  if (!content.isReference()) {
    if (content.value()) tile.layers.push_back({mask.label, {}});
    return 0;
  }
  tile.layers.push_back({mask.label, content.cell().pinForOnce()});
  return grid_.tileByteSize();
}

bool LabelBand::writeLayers(bool isFirst, std::uint8_t overlap) const {
  bool met = false;
  const SbVec3i32 low = tiles_.front().box.getMin(), high = tiles_.front().box.getMax();
  for (int z = low[2]; z <= high[2]; ++z)
    for (int y = low[1]; y <= high[1]; ++y)
      for (const Tile& tile : tiles_) met |= writeRow(tile, y, z, isFirst, overlap);
  return met;
}

bool LabelBand::writeRow(const Tile& tile, int y, int z, bool isFirst, std::uint8_t overlap) const {
  const SbVec3i32& size = grid_.dimensions();
  const auto count = static_cast<std::size_t>(tile.box.size(0));
  std::uint8_t* const row = labels_ + (std::int64_t{z} * size[1] + y) * size[0] + tile.box.getMin()[0];
  if (isFirst && tile.layers.empty()) std::memset(row, 0, count);
  const std::size_t offset = tile.layout.bit(tile.box.getMin()[0], y, z) / 8;
  bool met = false, isFresh = isFirst;
  for (const Layer& layer : tile.layers) {
    const auto* const bits =
        layer.payload ? reinterpret_cast<const std::uint8_t*>(layer.payload->bits()) + offset : nullptr;
    if (isFresh) {
      writeLabels(row, count, bits, layer.label);
    } else {
      met |= addLabels(row, count, bits, layer.label, overlap);
    }
    isFresh = false;
  }
  return met;
}

}  // namespace hxvoxora::detail
