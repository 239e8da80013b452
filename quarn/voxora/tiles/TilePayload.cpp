#include "quarn/voxora/tiles/TilePayload.h"

#include "quarn/voxora/tiles/detail/PayloadPool.h"

namespace hxvoxora {

Ref<TilePayload> TilePayload::make(std::size_t byteSize) {
  return Ref<TilePayload>(PayloadPool::ofSize(byteSize).take());
}

void TilePayload::dispose() const noexcept {
  PayloadPool::giveBack(const_cast<TilePayload*>(this));
}

PayloadStatistics payloadStatistics() {
  return PayloadPool::totals();
}

}  // namespace hxvoxora
