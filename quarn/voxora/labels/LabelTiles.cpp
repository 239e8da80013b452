#include "quarn/voxora/labels/detail/LabelTiles.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>

#include "quarn/voxora/bits/LabelBits.h"

namespace hxvoxora::detail {

namespace {

constexpr std::uint64_t allLabels = ~std::uint64_t{0};

/// Whether all labels of a row are `label`.
bool isAll(const std::uint8_t* row, std::size_t count, std::uint8_t label) {
  std::size_t x = 0;
  for (; x + labelsPerWord <= count; x += labelsPerWord)
    if (findLabel(row + x, label) != allLabels) return false;
  return std::all_of(row + x, row + count, [label](std::uint8_t other) { return other == label; });
}

/// Sets the first bits of a row.
void setBits(std::byte* row, std::size_t count) {
  std::memset(row, 0xFF, count / 8);
  if (count % 8 != 0) row[count / 8] |= std::byte(0xFF00 >> count % 8 & 0xFF);
}

}  // namespace

LabelTiles::LabelTiles(const std::uint8_t* labels, const TileGrid& grid, std::int64_t firstTile, std::int64_t count)
    : labels_(labels),
      grid_(grid),
      low_(grid.tileBox(firstTile).getMin()),
      high_(grid.tileBox(firstTile).getMax()),
      rowBytes_(static_cast<std::size_t>(grid.tileDimensions()[0]) / 8),
      wordBytes_(std::min(rowBytes_, sizeof(std::uint64_t))),
      mostDrafts_(std::max<std::size_t>(mostDraftBytes / grid.tileByteSize(), 1)),
      tiles_(static_cast<std::size_t>(count)) {
  for (std::int64_t i = 0; i < count; ++i) {
    Tile& tile = tiles_[static_cast<std::size_t>(i)];
    const SbBox3i32 box = grid.tileBox(firstTile + i);
    tile.number = firstTile + i;
    tile.x = box.getMin()[0];
    tile.count = static_cast<std::size_t>(box.size(0));
    tile.uniform = *row(tile, low_[1], low_[2]);
  }
}

std::vector<LabelPart> LabelTiles::separate() {
  std::vector<LabelPart> parts;
  while (std::ranges::any_of(tiles_, &Tile::isUnfinished)) {
    pass();
    takeDrafts(parts);
  }
  for (const Tile& tile : tiles_) {
    if (!tile.isUniform || tile.uniform == 0) continue;
    const std::int64_t first = row(tile, low_[1], low_[2]) - labels_;
    parts.push_back({tile.number, tile.uniform, first, TileSlot::constant(true)});
  }
  return parts;
}

/// Labels for which there is no room any more leave their tile unfinished.
void LabelTiles::pass() {
  std::vector<Tile*> tiles;
  for (Tile& tile : tiles_)
    if (std::exchange(tile.isUnfinished, false)) tiles.push_back(&tile);
  for (int z = low_[2]; z <= high_[2]; ++z)
    for (int y = low_[1]; y <= high_[1]; ++y)
      for (Tile* const tile : tiles) separateRow(*tile, y, z);
}

void LabelTiles::separateRow(Tile& tile, int y, int z) {
  const std::uint8_t* const labels = row(tile, y, z);
  if (tile.isUniform) {
    if (isAll(labels, tile.count, tile.uniform)) return;
    leaveUniform(tile, y, z);
  }
  std::size_t offset = offsetOf(y, z);
  for (std::size_t x = 0; x < tile.count; x += labelsPerWord, offset += wordBytes_) {
    const std::uint8_t* word = labels + x;
    std::uint8_t padded[labelsPerWord];
    if (tile.count - x < labelsPerWord) {
      std::memset(padded, 0, sizeof padded);
      std::memcpy(padded, word, tile.count - x);
      word = padded;
    }
    separateWord(tile, word, labels + x - labels_, offset);
  }
}

/// Every label of the word is looked for once.
void LabelTiles::separateWord(Tile& tile, const std::uint8_t* word, std::int64_t firstVoxel, std::size_t offset) {
  for (std::uint64_t left = allLabels; left != 0;) {
    const int next = std::countr_zero(left);
    const std::uint8_t label = word[next];
    const std::uint64_t found = findLabel(word, label);
    left &= ~found;
    if (label == 0) continue;
    std::byte* bits = tile.bits[label];
    if (!bits) bits = startDraft(tile, label, firstVoxel + next);
    if (!bits) continue;
    const std::uint64_t packed = found == allLabels ? found : inPackedOrder(found);
    std::memcpy(bits + offset, &packed, wordBytes_);
  }
}

/// The rows before this one are all of one label.
void LabelTiles::leaveUniform(Tile& tile, int y, int z) {
  tile.isUniform = false;
  if (tile.uniform == 0 || (y == low_[1] && z == low_[2])) return;
  std::byte* const bits = startDraft(tile, tile.uniform, row(tile, low_[1], low_[2]) - labels_);
  if (!bits) return;
  for (int k = low_[2]; k <= z; ++k) {
    const int end = k == z ? y : high_[1] + 1;
    for (int j = low_[1]; j < end; ++j) setBits(bits + offsetOf(j, k), tile.count);
  }
}

/// Null for a label that is done with, or has to wait for the next pass.
std::byte* LabelTiles::startDraft(Tile& tile, std::uint8_t label, std::int64_t firstVoxel) {
  if (tile.done[label]) return nullptr;
  if (drafts_ == mostDrafts_) {
    tile.isUnfinished = true;
    return nullptr;
  }
  Ref<TilePayload> payload = TilePayload::make(grid_.tileByteSize());
  std::byte* const bits = payload->bits();
  std::memset(bits, 0, payload->byteSize());
  tile.drafts.push_back({label, firstVoxel, std::move(payload)});
  tile.bits[label] = bits;
  ++drafts_;
  return bits;
}

void LabelTiles::takeDrafts(std::vector<LabelPart>& parts) {
  for (Tile& tile : tiles_) {
    for (Draft& draft : tile.drafts) {
      const auto cell = makeRef<const TileCell>(Ref<const TilePayload>(std::move(draft.payload)));
      parts.push_back({tile.number, draft.label, draft.firstVoxel, TileSlot::cell(cell)});
      tile.bits[draft.label] = nullptr;
      tile.done.set(draft.label);
    }
    tile.drafts.clear();
  }
  drafts_ = 0;
}

/// The labels of a row inside the tile.
const std::uint8_t* LabelTiles::row(const Tile& tile, int y, int z) const {
  const SbVec3i32& size = grid_.dimensions();
  return labels_ + (std::int64_t{z} * size[1] + y) * size[0] + tile.x;
}

/// Where the bits of a row begin.
std::size_t LabelTiles::offsetOf(int y, int z) const {
  const auto slice = static_cast<std::size_t>(z - low_[2]) * static_cast<std::size_t>(grid_.tileDimensions()[1]);
  return (slice + static_cast<std::size_t>(y - low_[1])) * rowBytes_;
}

}  // namespace hxvoxora::detail
