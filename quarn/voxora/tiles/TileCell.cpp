#include "quarn/voxora/tiles/detail/TileCell.h"

#include <utility>

namespace hxvoxora::detail {

TileCell::TileCell(Ref<const TilePayload> payload) : payload_(std::move(payload)) {}

TileCell::TileCell(Ref<const TileBacking> backing, std::uint64_t key, Ref<const TilePayload> payload)
    : payload_(std::move(payload)), backing_(std::move(backing)), key_(key) {}

Ref<const TilePayload> TileCell::pin() const {
  if (Ref<const TilePayload> payload = payload_.load()) return payload;
  // Two threads may both fetch the bits; either copy serves.
  Ref<const TilePayload> loaded = backing_->load(key_);
  payload_.store(loaded);
  return loaded;
}

}  // namespace hxvoxora::detail
