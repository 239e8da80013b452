#include "quarn/voxora/tiles/MemoryBudget.h"

#include <algorithm>

#include "quarn/voxora/tiles/detail/TileCache.h"
#include "quarn/voxora/tiles/detail/machineMemory.h"

namespace hxvoxora {

using detail::TileCache;

std::size_t memoryBudget() {
  return TileCache::instance().budget();
}

void setMemoryBudget(std::size_t bytes) {
  TileCache::instance().setBudget(bytes == 0 ? defaultMemoryBudget() : bytes);
}

std::size_t defaultMemoryBudget() {
  static const std::size_t mebibytes = detail::machineMemory() / 4 >> 20;
  return std::max<std::size_t>(mebibytes, 1) << 20;
}

void setSpillPrefix(const std::string& prefix) {
  TileCache::instance().spillStore().setPrefix(prefix);
}

CacheStatistics cacheStatistics() {
  return TileCache::instance().statistics();
}

}  // namespace hxvoxora
