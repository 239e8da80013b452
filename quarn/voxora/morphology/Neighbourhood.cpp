#include "quarn/voxora/morphology/detail/Neighbourhood.h"

#include <cstdlib>

namespace hxvoxora::detail {

namespace {

/// The rows of constant tiles.
constexpr std::uint8_t constantWords[2][sizeof(Word)] = {{}, {0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff, 0xff}};

}  // namespace

Neighbourhood::Neighbourhood(const TileTable& table)
    : table_(table),
      numbers_(table.grid()),
      wordBytes_(table.grid().tileDimensions()[0] < 64 ? 4 : 8),
      rowBytes_(static_cast<std::size_t>(table.grid().tileDimensions()[0]) / 8),
      sliceBytes_(rowBytes_ * static_cast<std::size_t>(table.grid().tileDimensions()[1])) {}

void Neighbourhood::visit(std::int64_t tile, int reach) {
  const std::int64_t x = tile % numbers_.count[0], y = tile / numbers_.count[0] % numbers_.count[1],
                     z = tile / numbers_.perSlice();
  for (int dz = -1; dz <= 1; ++dz) {
    Tile& middle = tiles_[static_cast<std::size_t>(index(0, 0, dz))];
    look(middle, x, y, z + dz);
    for (int dy = -1; dy <= 1; ++dy) {
      for (int dx = -1; dx <= 1; ++dx) {
        Tile& other = tiles_[static_cast<std::size_t>(index(dx, dy, dz))];
        if (&other == &middle) continue;
        if (std::abs(dx) + std::abs(dy) + std::abs(dz) <= reach) {
          look(other, x + dx, y + dy, z + dz);
        } else {
          other = Tile{nullptr, nullptr, middle.value};
        }
      }
    }
  }
}

void Neighbourhood::look(Tile& tile, std::int64_t x, std::int64_t y, std::int64_t z) {
  tile = Tile();
  if (!numbers_.isInside(x, y, z)) return;
  const TileSlot& slot = table_.slot(numbers_.number(x, y, z));
  if (!slot.isReference()) {
    tile.value = TileTable::resolved(slot, table_.defaultValue()).value();
    return;
  }
  tile.payload = slot.cell().pin();
  tile.bits = reinterpret_cast<const std::uint8_t*>(tile.payload->bits());
}

bool Neighbourhood::isConstantLayer(int dz) const {
  const auto first = static_cast<std::size_t>(index(-1, -1, dz));
  for (std::size_t i = first; i < first + 9; ++i)
    if (tiles_[i].bits || tiles_[i].value != tiles_[first].value) return false;
  return true;
}

WordsOfRows Neighbourhood::words(int dx, int dy, int dz, int word, int y, int z) const {
  const Tile& tile = at(dx, dy, dz);
  if (!tile.bits) return {constantWords[tile.value], 0};
  const std::size_t offset = static_cast<std::size_t>(z) * sliceBytes_ + static_cast<std::size_t>(y) * rowBytes_ +
                             static_cast<std::size_t>(word) * wordBytes_;
  return {tile.bits + offset, rowBytes_};
}

}  // namespace hxvoxora::detail
