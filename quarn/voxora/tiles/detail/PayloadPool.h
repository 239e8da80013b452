#pragma once

#include <cstddef>
#include <memory>
#include <mutex>
#include <span>
#include <vector>

#include "quarn/voxora/tiles/TilePayload.h"
#include "quarn/voxora/tiles/detail/SlabMemory.h"

namespace hxvoxora {

/// Payloads of one size, carved from slabs of 2 MiB and used again and again: the first touch of fresh pages costs many
/// times what is done with the bits afterwards. All operations are safe from any thread.
class PayloadPool {
public:
  /// The pool of a size, a power of two from 256 bytes to 2 MiB. Pools live as long as the process.
  static PayloadPool& ofSize(std::size_t byteSize);

  static PayloadStatistics totals();

  explicit PayloadPool(std::size_t byteSize);
  ~PayloadPool();

  /// The pools of all sizes.
  static std::span<PayloadPool* const> all();

  /// Calls visit(payload) for every payload, handed out or not, until it returns false. It must not give any back.
  template <typename Visit>
  void forEachPayload(Visit visit) {
    const std::lock_guard lock(mutex_);
    for (const std::unique_ptr<Slab>& slab : slabs_) {
      for (std::size_t i = 0; i < slab->payloadCount; ++i) {
        if (!visit(slab->payloads[i])) return;
      }
    }
  }

  /// A payload without references.
  TilePayload* take();

  /// Takes a payload back into the slab it is from.
  static void giveBack(TilePayload* payload) noexcept;

private:
  struct Slab {
    PayloadPool* pool = nullptr;
    detail::SlabMemory memory;
    std::unique_ptr<TilePayload[]> payloads;
    std::vector<TilePayload*> free;
    std::size_t payloadCount = 0;
  };

  Slab& slabWithRoom();
  void putBack(TilePayload* payload, Slab& slab) noexcept;
  void releaseSpareSlab() noexcept;

  const std::size_t byteSize_;
  std::mutex mutex_;
  std::vector<std::unique_ptr<Slab>> slabs_;
  std::vector<Slab*> partlyUsed_;  // with free payloads and used ones
  std::vector<Slab*> unused_;      // with free payloads only
  std::size_t inUse_ = 0;
  std::size_t handedOut_ = 0;
};

}  // namespace hxvoxora
