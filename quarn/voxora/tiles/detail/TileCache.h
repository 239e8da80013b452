#pragma once

#include <array>
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

/// Keeps the bits of all tiles of the process within the memory budget. It knows every cell that has bits in memory.
/// When the budget is exceeded, the bits of cells that have a backing leave, those used longest ago first; when few of
/// these are left, edited cells get a backing in a spill file and leave as well. Bits that somebody has pinned stay.
///
/// All operations are safe from any thread. Locks are taken in this order: eviction, list of cells, pool of payloads.
/// Under the lock of the eviction no payload is made and no task is started, so that whoever allocates may wait for it
/// with any lock of its own held.
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
  void countHit(const TileCell& cell) noexcept;
  /// @}

  SpillStore& spillStore() { return spillStore_; }
  CacheStatistics statistics();

private:
  /// A part of the cells, so that threads seldom wait for each other.
  struct alignas(64) Shard {
    std::mutex mutex;
    const TileCell* first = nullptr;
  };

  /// How long ago the cells of one kind were used, in ticks of the clock, and what they hold.
  struct Census {
    std::vector<std::uint32_t> ages;
    std::size_t bytes = 0;

    void add(std::uint32_t age, std::size_t cellBytes);
    /// The age from which on cells hold about so many bytes.
    std::uint32_t ageHolding(std::size_t wantedBytes);
  };

  struct Censuses {
    Census backed, edited;
  };

  TileCache();
  Shard& shardOf(const TileCell& cell);
  void link(Shard& shard, const TileCell& cell) noexcept;
  static void unlink(Shard& shard, const TileCell& cell) noexcept;
  std::uint32_t age(const TileCell& cell) const;

  std::size_t bytesInUse() const { return payloadBytes_.load(std::memory_order_relaxed) + bufferBytes(); }
  void makeRoomFor(std::size_t bytes, TilePayload::Purpose purpose);
  void evictDownTo(std::size_t target);
  void requireRoomForEdit(std::size_t bytes);
  Censuses takeCensus();
  void dropBacked(Census census, std::size_t wantedBytes);
  std::size_t dropBackedOlderThan(std::uint32_t age, std::size_t wantedBytes);
  std::size_t drop(const TileCell& cell) noexcept;
  std::size_t spillEdited(Census& census, std::size_t wantedBytes);
  std::vector<Ref<const TileCell>> editedOlderThan(std::uint32_t age, std::size_t wantedBytes);
  std::size_t spill(const std::vector<Ref<const TileCell>>& cells);
  static bool isPinned(const TileCell& cell) noexcept;

  static constexpr std::size_t shardCount = 64;

  std::atomic<std::size_t> budget_;
  alignas(64) std::atomic<std::size_t> payloadBytes_ = 0;
  std::atomic<std::size_t> bufferBytes_ = 0;
  alignas(64) std::atomic<std::uint32_t> clock_ = 0;
  std::atomic<std::uint64_t> loads_ = 0, evictions_ = 0, spills_ = 0;
  std::array<Shard, shardCount> shards_;

  std::mutex eviction_;
  // Under the lock of the eviction:
  std::size_t editedBytesLeft_ = 0;  ///< that could not be spilled when it was last tried
  std::size_t pause_ = 0;            ///< so many allocations go by before another try, after one in vain
  std::string spillFailure_;         ///< empty when the last spill went well
  SpillStore spillStore_;
};

}  // namespace hxvoxora::detail
