#include "quarn/voxora/tiles/detail/PayloadPool.h"

#include <algorithm>
#include <array>
#include <bit>

#include "quarn/voxora/tiles/MemoryBudget.h"

namespace hxvoxora {

namespace {

constexpr std::size_t slabBytes = detail::SlabMemory::byteSize;
constexpr std::size_t smallestPayload = 256;
constexpr int sizeCount = 14;  // 256 bytes to 2 MiB

/// Unused slabs are kept up to this amount, or a sixteenth of the memory budget when that is less; or up to what is in
/// use when that is more and the budget has room.
constexpr std::size_t keptBytes = std::size_t{64} << 20;

std::array<PayloadPool*, sizeCount> makePools() {
  std::array<PayloadPool*, sizeCount> pools{};
  for (int i = 0; i < sizeCount; ++i) pools[i] = new PayloadPool(smallestPayload << i);
  return pools;
}

/// Never destroyed: payloads may come back while the process ends.
const std::array<PayloadPool*, sizeCount>& allPools() {
  static const std::array<PayloadPool*, sizeCount> pools = makePools();
  return pools;
}

}  // namespace

PayloadPool::PayloadPool(std::size_t byteSize) : byteSize_(byteSize) {}

PayloadPool::~PayloadPool() = default;

PayloadPool& PayloadPool::ofSize(std::size_t byteSize) {
  return *allPools().at(static_cast<std::size_t>(std::countr_zero(byteSize / smallestPayload)));
}

std::span<PayloadPool* const> PayloadPool::all() {
  return allPools();
}

PayloadStatistics PayloadPool::totals() {
  PayloadStatistics sum;
  for (PayloadPool* pool : allPools()) {
    const std::lock_guard lock(pool->mutex_);
    sum.payloadsInUse += pool->inUse_;
    sum.bytesInUse += pool->inUse_ * pool->byteSize_;
    sum.bytesReserved += pool->slabs_.size() * slabBytes;
    sum.payloadsHandedOut += pool->handedOut_;
  }
  return sum;
}

TilePayload* PayloadPool::take() {
  const std::lock_guard lock(mutex_);
  Slab& slab = slabWithRoom();
  TilePayload* payload = slab.free.back();
  slab.free.pop_back();
  if (slab.free.empty()) partlyUsed_.pop_back();
  ++inUse_;
  ++handedOut_;
  return payload;
}

/// The last slab of partlyUsed_, which is made to be there.
PayloadPool::Slab& PayloadPool::slabWithRoom() {
  if (!partlyUsed_.empty()) return *partlyUsed_.back();
  if (!unused_.empty()) {
    partlyUsed_.push_back(unused_.back());
    unused_.pop_back();
    return *partlyUsed_.back();
  }
  auto slab = std::make_unique<Slab>();
  slab->pool = this;
  slab->payloadCount = slabBytes / byteSize_;
  slab->payloads.reset(new TilePayload[slab->payloadCount]);
  slab->free.reserve(slab->payloadCount);
  for (std::size_t i = slab->payloadCount; i-- > 0;) {
    TilePayload& payload = slab->payloads[i];
    payload.bits_ = slab->memory.bytes() + i * byteSize_;
    payload.byteSize_ = byteSize_;
    payload.slab_ = slab.get();
    slab->free.push_back(&payload);
  }
  // Room for every slab in either list, so that giving back never allocates.
  partlyUsed_.reserve(slabs_.size() + 1);
  unused_.reserve(slabs_.size() + 1);
  slabs_.push_back(std::move(slab));
  partlyUsed_.push_back(slabs_.back().get());
  return *partlyUsed_.back();
}

void PayloadPool::giveBack(TilePayload* payload) noexcept {
  auto& slab = *static_cast<Slab*>(payload->slab_);
  const std::lock_guard lock(slab.pool->mutex_);
  slab.pool->putBack(payload, slab);
}

void PayloadPool::putBack(TilePayload* payload, Slab& slab) noexcept {
  --inUse_;
  if (slab.free.empty()) partlyUsed_.push_back(&slab);
  slab.free.push_back(payload);
  if (slab.free.size() < slab.payloadCount) return;
  std::erase(partlyUsed_, &slab);
  unused_.push_back(&slab);
  const std::size_t used = inUse_ * byteSize_, budget = memoryBudget();
  const std::size_t few = std::min(keptBytes, budget / 16);
  const std::size_t kept = std::max(few, std::min(used, std::max(budget, used) - used));
  while (unused_.size() * slabBytes > kept) releaseSpareSlab();
}

void PayloadPool::releaseSpareSlab() noexcept {
  const Slab* spare = unused_.front();
  unused_.erase(unused_.begin());
  std::erase_if(slabs_, [spare](const std::unique_ptr<Slab>& slab) { return slab.get() == spare; });
}

}  // namespace hxvoxora
