#include "quarn/voxora/tiles/TilePayload.h"

#include "quarn/voxora/tiles/detail/PayloadPool.h"
#include "quarn/voxora/tiles/detail/TileCache.h"

namespace hxvoxora {

Ref<TilePayload> TilePayload::make(std::size_t byteSize, Purpose purpose) {
  detail::TileCache& cache = detail::TileCache::instance();
  cache.reserve(byteSize, purpose);
  try {
    return Ref<TilePayload>(PayloadPool::ofSize(byteSize).take());
  } catch (...) {
    cache.release(byteSize);
    throw;
  }
}

void TilePayload::dispose() const noexcept {
  const std::size_t bytes = byteSize_;
  PayloadPool::giveBack(const_cast<TilePayload*>(this));
  detail::TileCache::instance().release(bytes);
}

PayloadStatistics payloadStatistics() {
  return PayloadPool::totals();
}

}  // namespace hxvoxora
