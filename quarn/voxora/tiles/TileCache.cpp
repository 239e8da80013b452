#include "quarn/voxora/tiles/detail/TileCache.h"

#include <new>
#include <set>
#include <utility>

#include "quarn/voxora/tiles/detail/OwnerLock.h"
#include "quarn/voxora/tiles/detail/TileCell.h"

/// Who holds which bits, and what is counted.
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
/// This library is never loaded late, so that the counter can be found without a call.
[[gnu::tls_model("initial-exec")]] thread_local HitCounters::Counter* hitsOfThread = nullptr;
thread_local bool hasEnded = false;

ThreadHits::~ThreadHits() {
  hitsOfThread = nullptr;
  hasEnded = true;
  HitCounters::instance().leave(count);
}

HitCounters::Counter* startCounting() noexcept {
  if (hasEnded) return nullptr;
  try {
    thread_local ThreadHits hits;
    return hitsOfThread = &hits.count;
  } catch (const std::bad_alloc&) {
    return nullptr;  // a hit that is not counted
  }
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
  try {
    if (bytesInUse() > budget()) makeRoomFor(0, TilePayload::Purpose::Load);
  } catch (...) {
    releaseBuffer(bytes);
    throw;
  }
  return true;
}

void TileCache::countBuffer(std::size_t bytes) noexcept {
  bufferBytes_.fetch_add(bytes, std::memory_order_relaxed);
}

void TileCache::attach(const TileCell& cell, const TilePayload& payload) noexcept {
  const std::uint32_t now = clock_.load(std::memory_order_relaxed) + 1;
  clock_.store(now, std::memory_order_relaxed);  // a tick that gets lost between threads does no harm
  OwnerLock owners(payload);
  const bool areOthersBacked = !owners.first() || payload.isBacked_.load(std::memory_order_relaxed);
  payload.isBacked_.store(areOthersBacked && cell.hasBacking(), std::memory_order_relaxed);
  payload.lastUse_.store(now, std::memory_order_relaxed);
  owners.add(cell);
}

void TileCache::detach(const TileCell& cell, const TilePayload& payload) noexcept {
  OwnerLock owners(payload);
  if (owners.remove(cell) && owners.first()) payload.isBacked_.store(owners.areBacked(), std::memory_order_relaxed);
}

void TileCache::add(const TileCell& cell) noexcept {
  attach(cell, *cell.payload_.peek());
}

/// The reference keeps the bits from going back to the pool before the lock is released.
void TileCache::remove(const TileCell& cell) noexcept {
  if (const Ref<const TilePayload> payload = cell.payload_.exchange(nullptr)) detach(cell, *payload);
}

/// The payload gets its cell first, so that it is never in a cell without being known.
Ref<const TilePayload> TileCache::keep(const TileCell& cell, Ref<const TilePayload> loaded) noexcept {
  loads_.fetch_add(1, std::memory_order_relaxed);
  attach(cell, *loaded);
  if (cell.payload_.storeIfEmpty(loaded)) return loaded;
  detach(cell, *loaded);
  Ref<const TilePayload> present = cell.payload_.load();
  return present ? present : loaded;
}

void TileCache::countHit(const TilePayload& payload) noexcept {
  // Many may read one payload: it is written only when that says something new.
  const std::uint32_t now = clock_.load(std::memory_order_relaxed);
  if (payload.lastUse_.load(std::memory_order_relaxed) != now) payload.lastUse_.store(now, std::memory_order_relaxed);
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
