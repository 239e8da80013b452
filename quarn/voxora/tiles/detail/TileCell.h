#pragma once

#include <atomic>
#include <cstdint>

#include "quarn/voxora/tiles/Counted.h"
#include "quarn/voxora/tiles/TilePayload.h"
#include "quarn/voxora/tiles/detail/AtomicRef.h"
#include "quarn/voxora/tiles/detail/TileBacking.h"

namespace hxvoxora::detail {

/// A tile that has bits: in memory, in a backing, or both. Its bits never change, so that tables share it. It is what
/// the memory budget works on: bits that have a backing can leave memory and come back, others get a backing in a file
/// first. Whoever uses the bits has them pinned.
class TileCell final : public Counted {
public:
  /// A tile that is only in memory.
  explicit TileCell(Ref<const TilePayload> payload);

  /// A tile that `backing` knows by `key`; `payload` are its bits when they are in memory already.
  TileCell(Ref<const TileBacking> backing, std::uint64_t key, Ref<const TilePayload> payload = nullptr);

  ~TileCell() override;

  /// The bits, which stay in memory while the reference is held. They are fetched from the backing when needed, which
  /// may throw McException. Safe from several threads at once.
  Ref<const TilePayload> pin() const;

  /// As pin(), but bits that were not in memory do not stay there for others.
  Ref<const TilePayload> pinForOnce() const;

  /// The bits when they are in memory, else null.
  Ref<const TilePayload> inMemory() const { return payload_.load(); }

  bool hasBacking() const { return backing() != nullptr; }

  /// The file set that holds the tile; null for one that stands in none.
  const TileSource* source() const {
    const TileBacking* known = backing();
    return known ? known->asSource() : nullptr;
  }
  std::uint64_t tileInSource() const { return key_; }

private:
  friend class TileCache;

  /// Once there is a backing it stays.
  const TileBacking* backing() const { return backing_.load(std::memory_order_acquire); }

  mutable AtomicRef<const TilePayload> payload_;
  mutable std::atomic<const TileBacking*> backing_ = nullptr;
  const std::uint64_t key_ = 0;

  /// The next of the cells that hold the same bits; null without bits. Under the cache's lock of the bits.
  mutable const TileCell* nextOwner_ = nullptr;
};

}  // namespace hxvoxora::detail
