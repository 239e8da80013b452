#pragma once

#include <cstdint>

#include "quarn/voxora/tiles/Counted.h"
#include "quarn/voxora/tiles/TilePayload.h"
#include "quarn/voxora/tiles/detail/AtomicRef.h"
#include "quarn/voxora/tiles/detail/TileSource.h"

namespace hxvoxora::detail {

/// A tile that has bits: in memory, in a file, or both. Its bits never change, so that tables share it; it is what a
/// memory budget would work on, since a payload that stands in a file can leave and come back, and whoever uses it has
/// it pinned.
class TileCell final : public Counted {
public:
  /// A tile that is only in memory.
  explicit TileCell(Ref<const TilePayload> payload);

  /// A stored tile; `payload` are its bits when they are in memory already.
  TileCell(Ref<const TileSource> source, std::uint64_t tile, Ref<const TilePayload> payload = nullptr);

  /// The bits, which stay in memory while the reference is held. A stored tile is read when needed, which may throw
  /// McException. Safe from several threads at once.
  Ref<const TilePayload> pin() const;

  /// The bits when they are in memory, else null.
  Ref<const TilePayload> inMemory() const { return payload_.load(); }

  /// The file that holds the tile; null for one that is only in memory.
  const TileSource* source() const { return source_.get(); }
  std::uint64_t tileInSource() const { return tile_; }

private:
  mutable AtomicRef<const TilePayload> payload_;
  Ref<const TileSource> source_;
  std::uint64_t tile_ = 0;
};

}  // namespace hxvoxora::detail
