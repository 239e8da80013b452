#include "quarn/voxora/tiles/MemoryBudget.h"

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
  static const std::size_t quarter = detail::machineMemory() / 4;
  return quarter;
}

void setSpillPrefix(FileSystem& files, const std::string& prefix) {
  TileCache::instance().spillStore().setPlace(files, prefix);
}

CacheStatistics cacheStatistics() {
  return TileCache::instance().statistics();
}

}  // namespace hxvoxora
