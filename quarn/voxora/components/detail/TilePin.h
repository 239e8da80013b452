#pragma once

#include <cstdint>
#include <mutex>

#include "quarn/voxora/tiles/detail/TileTable.h"

namespace hxvoxora::detail {

/// The bits of a mixed tile, fetched when the first of its blocks needs them and kept for the others.
class TilePin {
public:
  TilePin(const TileTable& table, std::int64_t tile) : table_(table), tile_(tile) {}

  /// Safe from several threads. McException when the tile is damaged.
  const std::byte* bits() {
    const std::lock_guard lock(mutex_);
    if (!payload_) payload_ = table_.slot(tile_).cell().pin();
    return payload_->bits();
  }

private:
  const TileTable& table_;
  const std::int64_t tile_;
  std::mutex mutex_;
  Ref<const TilePayload> payload_;
};

}  // namespace hxvoxora::detail
