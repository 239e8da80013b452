#include "quarn/voxora/components/componentAt.h"

#include "quarn/voxora/components/detail/ComponentFlood.h"
#include "quarn/voxora/tiles/detail/boxText.h"

namespace hxvoxora {

std::optional<TileSnapshot> componentAt(const TileSnapshot& volume, Neighbours neighbours, const SbVec3i32& seed,
                                        const WorkCallback& callback) {
  detail::requireInside({seed, seed}, volume.grid());
  const detail::BlockGrid blocks(volume.table());
  detail::ComponentFlood flood(blocks, neighbours, callback);
  return flood.run(seed) ? flood.volume() : std::nullopt;
}

}  // namespace hxvoxora
