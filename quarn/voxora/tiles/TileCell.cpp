#include "quarn/voxora/tiles/detail/TileCell.h"

#include <utility>

#include "quarn/voxora/tiles/detail/TileCache.h"

namespace hxvoxora::detail {

TileCell::TileCell(Ref<const TilePayload> payload) : payload_(std::move(payload)) {
  TileCache::instance().add(*this);
}

TileCell::TileCell(Ref<const TileBacking> backing, std::uint64_t key, Ref<const TilePayload> payload)
    : payload_(std::move(payload)), backing_(backing.release()), key_(key) {
  if (payload_.peek()) TileCache::instance().add(*this);
}

TileCell::~TileCell() {
  TileCache::instance().remove(*this);
  if (const TileBacking* known = backing()) known->unref();
}

Ref<const TilePayload> TileCell::pin() const {
  if (Ref<const TilePayload> payload = payload_.load()) {
    TileCache::instance().countHit(*payload);
    return payload;
  }
  return TileCache::instance().keep(*this, backing()->load(key_));
}

Ref<const TilePayload> TileCell::pinForOnce() const {
  Ref<const TilePayload> payload = payload_.load();
  return payload ? payload : backing()->load(key_);
}

}  // namespace hxvoxora::detail
