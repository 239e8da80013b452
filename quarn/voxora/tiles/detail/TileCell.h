#pragma once

#include <cstdint>

#include "quarn/voxora/tiles/Counted.h"
#include "quarn/voxora/tiles/TilePayload.h"
#include "quarn/voxora/tiles/detail/AtomicRef.h"
#include "quarn/voxora/tiles/detail/TileBacking.h"

namespace hxvoxora::detail {

/// A tile that has bits: in memory, in a file, or both. Its bits never change, so that tables share it; it is what a
/// memory budget would work on, since a payload that stands in a file can leave and come back, and whoever uses it has
/// it pinned.
class TileCell final : public Counted {
public:
  /// A tile that is only in memory.
  explicit TileCell(Ref<const TilePayload> payload);

  /// A tile that `backing` knows by `key`; `payload` are its bits when they are in memory already.
  TileCell(Ref<const TileBacking> backing, std::uint64_t key, Ref<const TilePayload> payload = nullptr);

  /// The bits, which stay in memory while the reference is held. They are fetched from the backing when needed, which
  /// may throw McException. Safe from several threads at once.
  Ref<const TilePayload> pin() const;

  /// The bits when they are in memory, else null.
  Ref<const TilePayload> inMemory() const { return payload_.load(); }

  /// The file set that holds the tile; null for one that stands in none.
  const TileSource* source() const { return backing_ ? backing_->asSource() : nullptr; }
  std::uint64_t tileInSource() const { return key_; }

private:
  mutable AtomicRef<const TilePayload> payload_;
  Ref<const TileBacking> backing_;
  std::uint64_t key_ = 0;
};

}  // namespace hxvoxora::detail
