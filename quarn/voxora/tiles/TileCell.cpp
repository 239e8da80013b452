#include "quarn/voxora/tiles/detail/TileCell.h"

#include <utility>

namespace hxvoxora::detail {

TileCell::TileCell(Ref<const TilePayload> payload) : payload_(std::move(payload)) {}

TileCell::TileCell(Ref<const TileSource> source, std::uint64_t tile, Ref<const TilePayload> payload)
    : payload_(std::move(payload)), source_(std::move(source)), tile_(tile) {}

Ref<const TilePayload> TileCell::pin() const {
  if (Ref<const TilePayload> payload = payload_.load()) return payload;
  // Two threads may both read the tile; either copy serves.
  Ref<const TilePayload> loaded = source_->load(tile_);
  payload_.store(loaded);
  return loaded;
}

}  // namespace hxvoxora::detail
