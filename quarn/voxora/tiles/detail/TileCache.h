#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>
#include <vector>

#include "quarn/voxora/tiles/MemoryBudget.h"
#include "quarn/voxora/tiles/Ref.h"
#include "quarn/voxora/tiles/TilePayload.h"
#include "quarn/voxora/tiles/detail/SpillStore.h"
#include "quarn/voxora/tiles/detail/TileBacking.h"

namespace hxvoxora::detail {

class TileCell;

/// Keeps the bits of all tiles of the process within the memory budget. Payloads know the cells that hold them, and the
/// pools know all payloads. When the budget is exceeded, payloads whose cells have a backing leave, those used longest
/// ago first; when few of these are left, edited ones get a backing in a spill file and leave as well. Payloads that
/// somebody has pinned stay.
///
/// All operations are safe from any thread. Locks are taken in this order: eviction, pool of payloads, cells of a
/// payload; those of the latter are held for a few instructions only. Under the lock of the eviction no payload is made
/// and no task is started, so that whoever allocates may wait for it with any lock of its own held.
class TileCache {
public:
  static TileCache& instance();

  /// @name Bytes
  /// @{
  std::size_t budget() const { return budget_.load(std::memory_order_relaxed); }
  void setBudget(std::size_t bytes);

  /// Counts bytes of a payload that is about to be made, and makes room for them. Throws McException for an edit that
  /// cannot be fitted in; nothing is counted then.
  void reserve(std::size_t bytes, TilePayload::Purpose purpose) {
    const std::size_t before = payloadBytes_.fetch_add(bytes, std::memory_order_relaxed);
    if (before + bytes + bufferBytes_.load(std::memory_order_relaxed) > budget()) makeRoomFor(bytes, purpose);
  }
  void release(std::size_t bytes) noexcept { payloadBytes_.fetch_sub(bytes, std::memory_order_relaxed); }

  /// Counts the bytes of a buffer; false, and nothing counted, when all buffers together would exceed the budget.
  bool reserveBuffer(std::size_t bytes);
  /// The same without a limit.
  void countBuffer(std::size_t bytes) noexcept;
  void releaseBuffer(std::size_t bytes) noexcept { bufferBytes_.fetch_sub(bytes, std::memory_order_relaxed); }
  std::size_t bufferBytes() const { return bufferBytes_.load(std::memory_order_relaxed); }
  /// @}

  /// @name Cells
  /// @{

  /// A cell that is being made with bits in memory.
  void add(const TileCell& cell) noexcept;

  /// A cell that is about to end.
  void remove(const TileCell& cell) noexcept;

  /// Gives bits that were loaded to a cell; returns those that others loaded meanwhile when there are any.
  Ref<const TilePayload> keep(const TileCell& cell, Ref<const TilePayload> loaded) noexcept;

  /// Notes that bits in memory were used.
  void countHit(const TilePayload& payload) noexcept;
  /// @}

  SpillStore& spillStore() { return spillStore_; }
  CacheStatistics statistics();

private:
  class OwnerLock;
  using Payloads = std::vector<Ref<const TilePayload>>;

  /// How long ago the payloads of one kind were used, in ticks of the clock, and what they hold.
  struct Census {
    std::vector<std::uint32_t> ages;
    std::size_t bytes = 0;

    void add(std::uint32_t age, std::size_t payloadBytes);
    /// The age from which on they hold about so many bytes.
    std::uint32_t ageHolding(std::size_t wantedBytes);
  };

  struct Censuses {
    Census backed, edited;
  };

  TileCache();
  void attach(const TileCell& cell, const TilePayload& payload) noexcept;
  static void detach(const TileCell& cell, const TilePayload& payload) noexcept;
  std::uint32_t age(const TilePayload& payload) const;

  std::size_t bytesInUse() const { return payloadBytes_.load(std::memory_order_relaxed) + bufferBytes(); }
  void makeRoomFor(std::size_t bytes, TilePayload::Purpose purpose);
  void evictDownTo(std::size_t target);
  void requireRoomForEdit(std::size_t bytes);
  Censuses takeCensus();
  void dropBacked(Census census, std::size_t wantedBytes);
  std::size_t dropBackedOlderThan(std::uint32_t age, std::size_t wantedBytes);
  std::size_t spillEdited(Census& census, std::size_t wantedBytes);
  Payloads editedOlderThan(std::uint32_t age, std::size_t wantedBytes);
  std::size_t spill(Payloads payloads);
  void drop(OwnerLock& owners) noexcept;
  static bool isPinned(const TilePayload& payload, const OwnerLock& owners, std::int64_t referencesOfCaller) noexcept;

  std::atomic<std::size_t> budget_;
  alignas(64) std::atomic<std::size_t> payloadBytes_ = 0;
  std::atomic<std::size_t> bufferBytes_ = 0;
  alignas(64) std::atomic<std::uint32_t> clock_ = 0;
  std::atomic<std::uint64_t> loads_ = 0, evictions_ = 0, spills_ = 0;

  std::mutex eviction_;
  // Under the lock of the eviction:
  std::size_t editedBytesLeft_ = 0;  ///< that could not be spilled when it was last tried
  std::size_t pause_ = 0;            ///< so many allocations go by before another try, after one in vain
  std::string spillFailure_;         ///< empty when the last spill went well
  SpillStore spillStore_;
};

}  // namespace hxvoxora::detail
