#include "quarn/voxora/tiles/detail/TileCache.h"

#include <set>
#include <utility>

#include "quarn/voxora/tiles/detail/TileCell.h"

/// The list of cells, and what is counted.
namespace hxvoxora::detail {

namespace {

/// Hits are counted by each thread for itself.
class HitCounters {
public:
  using Counter = std::atomic<std::uint64_t>;

  static HitCounters& instance() {
    static HitCounters& counters = *new HitCounters;  // threads may end after static objects do
    return counters;
  }

  void enter(const Counter& counter) {
    const std::lock_guard lock(mutex_);
    counters_.insert(&counter);
  }

  void leave(const Counter& counter) {
    const std::lock_guard lock(mutex_);
    counters_.erase(&counter);
    ofEndedThreads_ += counter;
  }

  std::uint64_t sum() {
    const std::lock_guard lock(mutex_);
    std::uint64_t sum = ofEndedThreads_;
    for (const Counter* counter : counters_) sum += *counter;
    return sum;
  }

private:
  std::mutex mutex_;
  std::set<const Counter*> counters_;
  std::uint64_t ofEndedThreads_ = 0;
};

struct ThreadHits {
  ThreadHits() { HitCounters::instance().enter(count); }
  ~ThreadHits();
  HitCounters::Counter count = 0;
};

/// The counter of the thread; null before the first hit and after the thread's objects have ended.
thread_local HitCounters::Counter* hitsOfThread = nullptr;
thread_local bool hasEnded = false;

ThreadHits::~ThreadHits() {
  hitsOfThread = nullptr;
  hasEnded = true;
  HitCounters::instance().leave(count);
}

HitCounters::Counter* startCounting() {
  if (hasEnded) return nullptr;
  thread_local ThreadHits hits;
  return hitsOfThread = &hits.count;
}

}  // namespace

TileCache& TileCache::instance() {
  static TileCache& cache = *new TileCache;  // cells may end while the process does
  return cache;
}

TileCache::TileCache() : budget_(defaultMemoryBudget()) {}

bool TileCache::reserveBuffer(std::size_t bytes) {
  std::size_t present = bufferBytes_.load(std::memory_order_relaxed);
  do {
    if (present > budget() || bytes > budget() - present) return false;
  } while (!bufferBytes_.compare_exchange_weak(present, present + bytes, std::memory_order_relaxed));
  if (bytesInUse() > budget()) makeRoomFor(0, TilePayload::Purpose::Load);
  return true;
}

void TileCache::countBuffer(std::size_t bytes) noexcept {
  bufferBytes_.fetch_add(bytes, std::memory_order_relaxed);
}

/// Cells that lie side by side in memory share a shard, so that linking one touches the same memory again.
TileCache::Shard& TileCache::shardOf(const TileCell& cell) {
  constexpr std::uint64_t spread = 0x9e3779b97f4a7c15;
  return shards_[(reinterpret_cast<std::uintptr_t>(&cell) >> 12) * spread >> 58];
}

void TileCache::link(Shard& shard, const TileCell& cell) noexcept {
  cell.lastUse_.store(clock_.fetch_add(1, std::memory_order_relaxed) + 1, std::memory_order_relaxed);
  cell.previous_ = nullptr;
  cell.next_ = shard.first;
  if (shard.first) shard.first->previous_ = &cell;
  shard.first = &cell;
  cell.isListed_.store(true, std::memory_order_relaxed);
}

/// The last access to a cell that may be about to end.
void TileCache::unlink(Shard& shard, const TileCell& cell) noexcept {
  (cell.previous_ ? cell.previous_->next_ : shard.first) = cell.next_;
  if (cell.next_) cell.next_->previous_ = cell.previous_;
  cell.isListed_.store(false, std::memory_order_release);
}

void TileCache::add(const TileCell& cell) noexcept {
  Shard& shard = shardOf(cell);
  const std::lock_guard lock(shard.mutex);
  link(shard, cell);
}

void TileCache::remove(const TileCell& cell) noexcept {
  if (!cell.isListed_.load(std::memory_order_acquire)) return;
  Shard& shard = shardOf(cell);
  const std::lock_guard lock(shard.mutex);
  if (cell.isListed_.load(std::memory_order_relaxed)) unlink(shard, cell);
}

Ref<const TilePayload> TileCache::keep(const TileCell& cell, Ref<const TilePayload> loaded) noexcept {
  loads_.fetch_add(1, std::memory_order_relaxed);
  Shard& shard = shardOf(cell);
  const std::lock_guard lock(shard.mutex);
  if (Ref<const TilePayload> present = cell.payload_.load()) return present;
  cell.payload_.store(loaded);
  link(shard, cell);
  return loaded;
}

void TileCache::countHit(const TileCell& cell) noexcept {
  cell.lastUse_.store(clock_.load(std::memory_order_relaxed), std::memory_order_relaxed);
  HitCounters::Counter* hits = hitsOfThread ? hitsOfThread : startCounting();
  if (hits) hits->store(hits->load(std::memory_order_relaxed) + 1, std::memory_order_relaxed);
}

CacheStatistics TileCache::statistics() {
  CacheStatistics now;
  now.hits = HitCounters::instance().sum();
  now.loads = loads_;
  now.evictions = evictions_;
  now.spills = spills_;
  now.bytesInMemory = payloadStatistics().bytesInUse;
  now.bytesInBuffers = bufferBytes();
  now.bytesSpilled = spillStore_.bytesNeeded();
  return now;
}

}  // namespace hxvoxora::detail
