#include "quarn/voxora/labels/detail/LabelTile.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>

#include "quarn/voxora/bits/LabelBits.h"

namespace hxvoxora::detail {

namespace {

constexpr std::uint64_t allLabels = ~std::uint64_t{0};

/// Rows of a tile lie far apart in the volume: the processor is told early which ones come next.
constexpr int rowsAhead = 12;

void fetchAhead(const std::uint8_t* row) {
#if defined(__GNUC__)
  __builtin_prefetch(row);
#endif
}

/// Whether all labels of a row are `label`.
bool isAll(const std::uint8_t* row, std::size_t count, std::uint8_t label) {
  std::size_t x = 0;
  for (; x + labelsPerWord <= count; x += labelsPerWord)
    if (findLabel(row + x, label) != allLabels) return false;
  return std::all_of(row + x, row + count, [label](std::uint8_t other) { return other == label; });
}

}  // namespace

LabelTile::LabelTile(const std::uint8_t* labels, const TileGrid& grid, std::int64_t tile)
    : labels_(labels),
      grid_(grid),
      box_(grid.tileBox(tile)),
      rowBytes_(static_cast<std::size_t>(grid.tileDimensions()[0]) / 8),
      wordBytes_(std::min(rowBytes_, sizeof(std::uint64_t))) {}

std::vector<LabelPart> LabelTile::separate() {
  const SbVec3i32 low = box_.getMin(), high = box_.getMax();
  if (isUniform()) {
    const std::uint8_t* const first = row(low[1], low[2]);
    if (*first == 0) return {};
    return {{*first, first - labels_, TileSlot::constant(true)}};
  }
  for (int z = low[2]; z <= high[2]; ++z)
    for (int y = low[1]; y <= high[1]; ++y) separateRow(y, z);
  std::vector<LabelPart> parts;
  for (Draft& draft : drafts_) {
    const auto cell = makeRef<const TileCell>(Ref<const TilePayload>(std::move(draft.payload)));
    parts.push_back({draft.label, draft.firstVoxel, TileSlot::cell(cell)});
  }
  return parts;
}

/// The labels of a row inside the tile.
const std::uint8_t* LabelTile::row(int y, int z) const {
  const SbVec3i32& size = grid_.dimensions();
  return labels_ + (std::int64_t{z} * size[1] + y) * size[0] + box_.getMin()[0];
}

bool LabelTile::isUniform() const {
  const SbVec3i32 low = box_.getMin(), high = box_.getMax();
  const auto count = static_cast<std::size_t>(box_.size(0));
  const std::uint8_t label = *row(low[1], low[2]);
  for (int z = low[2]; z <= high[2]; ++z)
    for (int y = low[1]; y <= high[1]; ++y) {
      fetchAhead(row(y + rowsAhead, z));
      if (!isAll(row(y, z), count, label)) return false;
    }
  return true;
}

void LabelTile::separateRow(int y, int z) {
  const SbVec3i32 low = box_.getMin();
  const auto slice = static_cast<std::size_t>(z - low[2]) * static_cast<std::size_t>(grid_.tileDimensions()[1]);
  std::size_t offset = (slice + static_cast<std::size_t>(y - low[1])) * rowBytes_;
  const std::uint8_t* const labels = row(y, z);
  fetchAhead(row(y + rowsAhead, z));
  const auto count = static_cast<std::size_t>(box_.size(0));
  for (std::size_t x = 0; x < count; x += labelsPerWord, offset += wordBytes_) {
    const std::uint8_t* word = labels + x;
    std::uint8_t padded[labelsPerWord];
    if (count - x < labelsPerWord) {
      std::memset(padded, 0, sizeof padded);
      std::memcpy(padded, word, count - x);
      word = padded;
    }
    separateWord(word, labels + x - labels_, offset);
  }
}

/// Every label of the word is looked for once.
void LabelTile::separateWord(const std::uint8_t* word, std::int64_t firstVoxel, std::size_t offset) {
  for (std::uint64_t left = allLabels; left != 0;) {
    const int next = std::countr_zero(left);
    const std::uint8_t label = word[next];
    const std::uint64_t found = findLabel(word, label);
    left &= ~found;
    if (label == 0) continue;
    const std::uint64_t bits = found == allLabels ? found : inPackedOrder(found);
    std::memcpy(bitsOf(label, firstVoxel + next) + offset, &bits, wordBytes_);
  }
}

std::byte* LabelTile::bitsOf(std::uint8_t label, std::int64_t firstVoxel) {
  std::byte*& bits = bits_[label];
  if (!bits) {
    Ref<TilePayload> payload = TilePayload::make(grid_.tileByteSize());
    bits = payload->bits();
    std::memset(bits, 0, payload->byteSize());
    drafts_.push_back({label, firstVoxel, std::move(payload)});
  }
  return bits;
}

}  // namespace hxvoxora::detail
