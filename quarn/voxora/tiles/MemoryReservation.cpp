#include "quarn/voxora/tiles/MemoryReservation.h"

#include <string>

#include "quarn/base/McException.h"
#include "quarn/voxora/tiles/detail/TileCache.h"

namespace hxvoxora {

using detail::TileCache;

MemoryReservation::MemoryReservation(std::size_t bytes) {
  TileCache& cache = TileCache::instance();
  if (bytes < alwaysGranted) {
    cache.countBuffer(bytes);
  } else if (!cache.reserveBuffer(bytes)) {
    throw McException("A buffer needs " + std::to_string(bytes) + " bytes; the memory budget is " +
                      std::to_string(cache.budget()) + " bytes, " + std::to_string(cache.bufferBytes()) +
                      " of them in use by other buffers.");
  }
  bytes_ = bytes;
}

MemoryReservation::~MemoryReservation() {
  if (bytes_ > 0) TileCache::instance().releaseBuffer(bytes_);
}

}  // namespace hxvoxora
