#include <algorithm>
#include <utility>

#include "quarn/base/McException.h"
#include "quarn/voxora/tiles/detail/TileCache.h"
#include "quarn/voxora/tiles/detail/TileCell.h"

/// How the cache makes room.
namespace hxvoxora::detail {

namespace {

/// Edited tiles are written in pieces of about so many bytes.
constexpr std::size_t spillBytesAtOnce = std::size_t{1} << 20;

/// A spill file is as large as the budget, but not larger than this.
constexpr std::uint64_t largestSpillFile = std::uint64_t{64} << 20;

/// After a try in vain one allocation in so many listed cells goes by without another.
constexpr std::size_t cellsPerPause = 64;

}  // namespace

void TileCache::setBudget(std::size_t bytes) {
  budget_ = bytes;
  const std::lock_guard lock(eviction_);
  pause_ = 0;
  if (bytesInUse() > bytes) evictDownTo(bytes);
}

void TileCache::Census::add(std::uint32_t age, std::size_t cellBytes) {
  ages.push_back(age);
  bytes += cellBytes;
}

std::uint32_t TileCache::Census::ageHolding(std::size_t wantedBytes) {
  if (wantedBytes >= bytes) return 0;
  const std::size_t count = wantedBytes / (bytes / ages.size());
  const auto limit = ages.begin() + static_cast<std::ptrdiff_t>(std::min(count, ages.size() - 1));
  std::nth_element(ages.begin(), limit, ages.end(), std::greater<>());
  return *limit;
}

/// Ticks since the last use; the clock may have turned over meanwhile.
std::uint32_t TileCache::age(const TileCell& cell) const {
  return clock_.load(std::memory_order_relaxed) - cell.lastUse_.load(std::memory_order_relaxed);
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
  const std::size_t cells = backed.ages.size() + edited.ages.size();
  const auto missing = [&] { return std::max(bytesInUse(), target) - target; };
  const std::size_t kept = std::min({backed.bytes, edited.bytes, budget() / 8});
  const std::size_t spare = backed.bytes - kept;
  dropBacked(std::move(backed), std::min(missing(), spare));
  editedBytesLeft_ = edited.bytes;
  spillFailure_.clear();
  if (missing() > 0) editedBytesLeft_ -= spillEdited(edited, missing());
  if (missing() > 0) dropBacked(takeCensus().backed, missing());
  pause_ = bytesInUse() > budget() ? cells / cellsPerPause : 0;
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
  for (Shard& shard : shards_) {
    const std::lock_guard lock(shard.mutex);
    for (const TileCell* cell = shard.first; cell; cell = cell->next_)
      (cell->hasBacking() ? censuses.backed : censuses.edited).add(age(*cell), cell->payload_.peek()->byteSize());
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
  std::size_t dropped = 0;
  for (Shard& shard : shards_) {
    const std::lock_guard lock(shard.mutex);
    for (const TileCell* cell = shard.first; cell && dropped < wantedBytes;) {
      const TileCell* next = cell->next_;
      if (cell->hasBacking() && age(*cell) >= oldest) dropped += drop(*cell);
      cell = next;
    }
  }
  return dropped;
}

/// Under the lock of the cell's shard. Bits that somebody uses would stay in memory, and might be loaded beside.
bool TileCache::isPinned(const TileCell& cell) noexcept {
  return cell.payload_.otherHolders() == AtomicRef<const TilePayload>::Holders::References;
}

/// Under the lock of the cell's shard. Returns the bytes that come free: none as long as another cell has the same
/// bits.
std::size_t TileCache::drop(const TileCell& cell) noexcept {
  if (isPinned(cell)) return 0;
  const bool isShared = cell.payload_.otherHolders() != AtomicRef<const TilePayload>::Holders::None;
  const std::size_t bytes = cell.payload_.peek()->byteSize();
  cell.payload_.store(nullptr);
  unlink(shardOf(cell), cell);
  evictions_.fetch_add(1, std::memory_order_relaxed);
  return isShared ? 0 : bytes;
}

/// Returns the bytes that need no place in memory any more.
std::size_t TileCache::spillEdited(Census& census, std::size_t wantedBytes) {
  if (census.ages.empty()) return 0;
  const std::vector<Ref<const TileCell>> cells = editedOlderThan(census.ageHolding(wantedBytes), wantedBytes);
  std::size_t spilled = 0;
  std::vector<Ref<const TileCell>> piece;
  std::size_t pieceBytes = 0;
  try {
    for (const Ref<const TileCell>& cell : cells) {
      piece.push_back(cell);
      pieceBytes += cell->inMemory()->byteSize();
      if (pieceBytes < spillBytesAtOnce && &cell != &cells.back()) continue;
      spilled += spill(piece);
      piece.clear();
      pieceBytes = 0;
    }
  } catch (const std::exception& failure) {
    spillFailure_ = failure.what();
  }
  return spilled;
}

std::vector<Ref<const TileCell>> TileCache::editedOlderThan(std::uint32_t oldest, std::size_t wantedBytes) {
  std::vector<Ref<const TileCell>> cells;
  std::size_t bytes = 0;
  for (Shard& shard : shards_) {
    const std::lock_guard lock(shard.mutex);
    for (const TileCell* cell = shard.first; cell && bytes < wantedBytes; cell = cell->next_) {
      if (cell->hasBacking() || age(*cell) < oldest || isPinned(*cell) || !cell->tryRef()) continue;
      bytes += cell->payload_.peek()->byteSize();
      cells.push_back(Ref<const TileCell>::adopt(cell));
    }
  }
  return cells;
}

/// No lock of a list is held meanwhile. Only the eviction gives bits in memory up, so they are there.
std::size_t TileCache::spill(const std::vector<Ref<const TileCell>>& cells) {
  std::vector<Ref<const TilePayload>> payloads;
  for (const Ref<const TileCell>& cell : cells) payloads.push_back(cell->inMemory());
  const auto fileBytes = std::min<std::uint64_t>(budget(), largestSpillFile);
  const std::vector<Ref<const TileBacking>> backings = spillStore_.write(payloads, fileBytes);
  spills_.fetch_add(cells.size(), std::memory_order_relaxed);
  std::size_t bytes = 0;
  for (std::size_t i = 0; i < cells.size(); ++i) {
    bytes += payloads[i]->byteSize();
    payloads[i] = nullptr;
    const TileCell& cell = *cells[i];
    const std::lock_guard lock(shardOf(cell).mutex);
    cell.backing_.store(Ref<const TileBacking>(backings[i]).release(), std::memory_order_release);
    drop(cell);
  }
  return bytes;
}

}  // namespace hxvoxora::detail
