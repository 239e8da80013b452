#include "quarn/voxora/tiles/TileSnapshot.h"

#include <utility>

#include "quarn/voxora/tiles/detail/TileTable.h"

namespace hxvoxora {

TileSnapshot::TileSnapshot() : table_(makeRef<const detail::TileTable>(TileGrid(), false)) {}
TileSnapshot::TileSnapshot(Ref<const detail::TileTable> table) : table_(std::move(table)) {}
TileSnapshot::TileSnapshot(const TileSnapshot&) = default;
TileSnapshot::TileSnapshot(TileSnapshot&&) noexcept = default;
TileSnapshot::~TileSnapshot() = default;

TileSnapshot& TileSnapshot::operator=(TileSnapshot other) noexcept {
  std::swap(table_, other.table_);
  return *this;
}

const TileGrid& TileSnapshot::grid() const {
  return table_->grid();
}

TileSnapshot::Kind TileSnapshot::kind(std::int64_t tile) const {
  const detail::TileSlot content = table_->content(tile);
  return content.isReference() ? Kind::Mixed : content.value() ? Kind::One : Kind::Zero;
}

bool TileSnapshot::isWritten(std::int64_t tile) const {
  return !table_->slot(tile).isUnwritten();
}

TileSnapshot::TileCounts TileSnapshot::countTiles() const {
  TileCounts counts;
  table_->forEachRun([&](std::int64_t, std::int64_t count, const detail::TileSlot& slot) {
    const auto tiles = static_cast<std::uint64_t>(count);
    if (!slot.isUnwritten()) counts.written += tiles;
    const detail::TileSlot content = detail::TileTable::resolved(slot, table_->defaultValue());
    (content.isReference() ? counts.mixed : content.value() ? counts.one : counts.zero) += tiles;
  });
  return counts;
}

Ref<const TilePayload> TileSnapshot::payload(std::int64_t tile) const {
  const detail::TileSlot& slot = table_->slot(tile);
  return slot.isReference() ? slot.cell().pin() : nullptr;
}

}  // namespace hxvoxora
