#include <algorithm>
#include <utility>

#include "quarn/base/McException.h"
#include "quarn/voxora/tiles/detail/OwnerLock.h"
#include "quarn/voxora/tiles/detail/PayloadPool.h"
#include "quarn/voxora/tiles/detail/TileCache.h"
#include "quarn/voxora/tiles/detail/TileCell.h"

/// How the cache makes room.
namespace hxvoxora::detail {

namespace {

/// Edited tiles are written in pieces of about so many bytes.
constexpr std::size_t spillBytesAtOnce = std::size_t{1} << 20;

/// A spill file is as large as the budget, but not larger than this as long as there are few.
constexpr std::uint64_t largestSpillFile = std::uint64_t{256} << 20;

/// Each file that is needed costs a descriptor, of which a process has a thousand or so.
constexpr std::uint64_t manySpillFiles = 128;

/// After a try in vain, one allocation for so many payloads goes by without another.
constexpr std::size_t payloadsPerPause = 64;

}  // namespace

void TileCache::setBudget(std::size_t bytes) {
  budget_ = bytes;
  const std::lock_guard lock(eviction_);
  pause_ = 0;
  if (bytesInUse() > bytes) evictDownTo(bytes);
}

void TileCache::Census::add(std::uint32_t age, std::size_t payloadBytes) {
  ages.push_back(age);
  bytes += payloadBytes;
}

std::uint32_t TileCache::Census::ageHolding(std::size_t wantedBytes) {
  if (wantedBytes >= bytes) return 0;
  const std::size_t count = wantedBytes / (bytes / ages.size());
  const auto limit = ages.begin() + static_cast<std::ptrdiff_t>(std::min(count, ages.size() - 1));
  std::nth_element(ages.begin(), limit, ages.end(), std::greater<>());
  return *limit;
}

/// Ticks since the last use; the clock may have turned over meanwhile, or lost some that others saw.
std::uint32_t TileCache::age(const TilePayload& payload) const {
  const std::uint32_t ticks = clock_.load(std::memory_order_relaxed) - payload.lastUse_.load(std::memory_order_relaxed);
  return static_cast<std::int32_t>(ticks) < 0 ? 0 : ticks;
}

/// The bytes are counted already.
void TileCache::makeRoomFor(std::size_t bytes, TilePayload::Purpose purpose) {
  const std::lock_guard lock(eviction_);
  if (bytesInUse() <= budget()) return;
  if (pause_ > 0) {
    --pause_;
    return;
  }
  try {
    evictDownTo(budget() - budget() / 16);
    if (purpose == TilePayload::Purpose::Edit && bytesInUse() > budget()) requireRoomForEdit(bytes);
  } catch (...) {
    release(bytes);
    throw;
  }
}

/// Bits that can be had again go first. Edited ones follow before the last of those are gone, so that a mask that is
/// edited everywhere does not drive out what is being read.
void TileCache::evictDownTo(std::size_t target) {
  Censuses censuses = takeCensus();
  Census &backed = censuses.backed, &edited = censuses.edited;
  const std::size_t payloads = backed.ages.size() + edited.ages.size();
  const auto missing = [&] { return std::max(bytesInUse(), target) - target; };
  const std::size_t kept = std::min({backed.bytes, edited.bytes, budget() / 8});
  const std::size_t spare = backed.bytes - kept;
  dropBacked(std::move(backed), std::min(missing(), spare));
  editedBytesLeft_ = edited.bytes;
  spillFailure_.clear();
  if (missing() > 0) editedBytesLeft_ -= std::min(editedBytesLeft_, spillEdited(edited, missing()));
  if (missing() > 0) dropBacked(takeCensus().backed, missing());
  pause_ = bytesInUse() > budget() ? payloads / payloadsPerPause : 0;
}

/// An edit may exceed the budget by what is pinned at the moment, but not when edited tiles pile up.
void TileCache::requireRoomForEdit(std::size_t bytes) {
  if (spillFailure_.empty() || editedBytesLeft_ + bufferBytes() + bytes <= budget()) return;
  pause_ = 0;
  throw McException("The memory budget of " + std::to_string(budget()) + " bytes is used up: edited tiles take " +
                    std::to_string(editedBytesLeft_) + " bytes and buffers " + std::to_string(bufferBytes()) +
                    " bytes, and edited tiles cannot be written to temporary files: " + spillFailure_ + ".");
}

TileCache::Censuses TileCache::takeCensus() {
  Censuses censuses;
  for (PayloadPool* pool : PayloadPool::all()) {
    pool->forEachPayload([&](const TilePayload& payload) {
      if (payload.owners_.load(std::memory_order_relaxed) == 0) return true;
      const bool isBacked = payload.isBacked_.load(std::memory_order_relaxed);
      (isBacked ? censuses.backed : censuses.edited).add(age(payload), payload.byteSize());
      return true;
    });
  }
  return censuses;
}

void TileCache::dropBacked(Census census, std::size_t wantedBytes) {
  if (wantedBytes == 0 || census.ages.empty()) return;
  const std::size_t dropped = dropBackedOlderThan(census.ageHolding(wantedBytes), wantedBytes);
  // Where old ones are pinned, younger ones have to go.
  if (dropped < wantedBytes) dropBackedOlderThan(0, wantedBytes - dropped);
}

std::size_t TileCache::dropBackedOlderThan(std::uint32_t oldest, std::size_t wantedBytes) {
  std::size_t bytes = 0;
  for (PayloadPool* pool : PayloadPool::all()) {
    Payloads dropped;  // they go back to the pool when its lock is released
    pool->forEachPayload([&](const TilePayload& payload) {
      if (bytes >= wantedBytes) return false;
      if (age(payload) < oldest) return true;
      OwnerLock owners(payload, std::try_to_lock);
      if (!owners.isLocked() || !payload.isBacked_ || isPinned(payload, owners, 0)) return true;
      dropped.emplace_back(&payload);
      bytes += payload.byteSize();
      drop(owners);
      return true;
    });
  }
  return bytes;
}

/// Bits that somebody uses would stay in memory all the same, and might be loaded beside. While cells are being made or
/// end the numbers do not agree, and the bits count as pinned.
bool TileCache::isPinned(const TilePayload& payload, const OwnerLock& owners,
                         std::int64_t referencesOfCaller) noexcept {
  std::int64_t held = referencesOfCaller;
  for (const TileCell* cell = owners.first(); cell; cell = cell->nextOwner_) {
    if (cell->payload_.peek() != &payload) return true;
    held += cell->payload_.referencesHeld();
  }
  return payload.referenceCount() != held;
}

/// Takes the bits from all cells that hold them. The caller has a reference.
void TileCache::drop(OwnerLock& owners) noexcept {
  while (const TileCell* cell = owners.first()) {
    owners.remove(*cell);
    cell->payload_.store(nullptr);
  }
  evictions_.fetch_add(1, std::memory_order_relaxed);
}

/// Returns the bytes that can be had again from now on.
std::size_t TileCache::spillEdited(Census& census, std::size_t wantedBytes) {
  if (census.ages.empty()) return 0;
  Payloads edited = editedOlderThan(census.ageHolding(wantedBytes), wantedBytes), piece;
  std::size_t spilled = 0, pieceBytes = 0;
  try {
    for (Ref<const TilePayload>& payload : edited) {
      pieceBytes += payload->byteSize();
      piece.push_back(std::move(payload));
      if (pieceBytes < spillBytesAtOnce && &payload != &edited.back()) continue;
      spilled += spill(std::move(piece));
      piece.clear();
      pieceBytes = 0;
    }
  } catch (const std::exception& failure) {
    spillFailure_ = failure.what();
  }
  return spilled;
}

TileCache::Payloads TileCache::editedOlderThan(std::uint32_t oldest, std::size_t wantedBytes) {
  Payloads edited;
  std::size_t bytes = 0;
  for (PayloadPool* pool : PayloadPool::all()) {
    pool->forEachPayload([&](const TilePayload& payload) {
      if (bytes >= wantedBytes) return false;
      if (age(payload) < oldest) return true;
      const OwnerLock owners(payload, std::try_to_lock);
      if (!owners.isLocked() || payload.isBacked_ || isPinned(payload, owners, 0)) return true;
      edited.emplace_back(&payload);
      bytes += payload.byteSize();
      return true;
    });
  }
  return edited;
}

/// The cells may have gone meanwhile, and others come.
std::size_t TileCache::spill(Payloads payloads) {
  const auto fileBytes = std::max(std::min<std::uint64_t>(budget(), largestSpillFile),
                                  std::uint64_t{spillStore_.bytesNeeded()} / manySpillFiles);
  const std::vector<Ref<const TileBacking>> backings = spillStore_.write(payloads, fileBytes);
  spills_.fetch_add(payloads.size(), std::memory_order_relaxed);
  std::size_t bytes = 0;
  for (std::size_t i = 0; i < payloads.size(); ++i) {
    const TilePayload& payload = *payloads[i];
    bytes += payload.byteSize();
    OwnerLock owners(payload);
    if (!owners.first()) continue;
    for (const TileCell* cell = owners.first(); cell; cell = cell->nextOwner_) {
      if (!cell->hasBacking())
        cell->backing_.store(Ref<const TileBacking>(backings[i]).release(), std::memory_order_release);
    }
    payload.isBacked_ = true;
    if (!isPinned(payload, owners, 1)) drop(owners);
  }
  return bytes;
}

}  // namespace hxvoxora::detail
