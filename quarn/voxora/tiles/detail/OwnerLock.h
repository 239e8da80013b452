#pragma once

#include <cstdint>
#include <mutex>
#include <thread>

#include "quarn/voxora/tiles/TilePayload.h"
#include "quarn/voxora/tiles/detail/TileCache.h"
#include "quarn/voxora/tiles/detail/TileCell.h"

namespace hxvoxora::detail {

/// The cells that hold a payload, locked as long as this lives. The lock is a mark in the word that points to the first
/// of them; whoever holds it waits for nothing else.
class TileCache::OwnerLock {
public:
  /// Waits for the lock.
  explicit OwnerLock(const TilePayload& payload) : payload_(payload) {
    while (!tryLock(word())) std::this_thread::yield();
  }

  /// Takes the lock when the payload has cells, whose references keep it alive, and nobody else holds it; isLocked()
  /// tells. The payload may be on its way back to the pool.
  OwnerLock(const TilePayload& payload, std::try_to_lock_t) : payload_(payload) {
    if (const std::uintptr_t cells = word()) tryLock(cells);
  }

  ~OwnerLock() {
    if (isLocked_) payload_.owners_.store(reinterpret_cast<std::uintptr_t>(first_), std::memory_order_release);
  }
  OwnerLock(const OwnerLock&) = delete;
  OwnerLock& operator=(const OwnerLock&) = delete;

  bool isLocked() const { return isLocked_; }
  const TileCell* first() const { return first_; }

  void add(const TileCell& cell) {
    if (first_) cell.nextOwner_ = first_;
    first_ = &cell;
  }

  /// False when the cell is not among them.
  bool remove(const TileCell& cell) {
    for (const TileCell** place = &first_; *place; place = &(*place)->nextOwner_) {
      if (*place != &cell) continue;
      *place = cell.nextOwner_;
      // Several threads may be loading the bits of one cell, each into a payload that has no other cell: then nobody
      // writes.
      if (cell.nextOwner_) cell.nextOwner_ = nullptr;
      return true;
    }
    return false;
  }

  bool areBacked() const {
    for (const TileCell* cell = first_; cell; cell = cell->nextOwner_) {
      if (!cell->hasBacking()) return false;
    }
    return true;
  }

private:
  static constexpr std::uintptr_t lockMark = 1;

  std::uintptr_t word() const { return payload_.owners_.load(std::memory_order_relaxed) & ~lockMark; }

  /// Fails when the cells are not these any more.
  bool tryLock(std::uintptr_t cells) {
    isLocked_ = payload_.owners_.compare_exchange_strong(cells, cells | lockMark, std::memory_order_acquire,
                                                         std::memory_order_relaxed);
    if (isLocked_) first_ = reinterpret_cast<const TileCell*>(cells);
    return isLocked_;
  }

  const TilePayload& payload_;
  const TileCell* first_ = nullptr;
  bool isLocked_ = false;
};

}  // namespace hxvoxora::detail
