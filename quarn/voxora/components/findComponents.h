#pragma once

#include <functional>

#include "quarn/voxora/components/Component.h"
#include "quarn/voxora/export.h"
#include "quarn/voxora/tiles/TileSnapshot.h"
#include "quarn/voxora/tiles/WorkCallback.h"

namespace hxvoxora {

/// Takes components one by one.
using ComponentSink = std::function<void(const Component&)>;

/// Hands every component of a volume to `sink`, once each, as soon as it is known to be complete. The order is
/// unspecified, but the same for the same content and tiles, whatever the number of threads. Calls come from the
/// calling thread.
///
/// Time follows the tiles that are not clear. Memory follows the components that reach the front of a sweep over the
/// tiles, so that volumes larger than memory, and any number of components, are counted in little room.
///
/// False when `callback` gave the work up; what was handed over until then are components of the volume. What `sink` or
/// `callback` throw ends the work and passes through, as McException for a damaged tile and std::bad_alloc do. Safe
/// from any thread; work is done on the TBB workers, isolated from other tasks of the calling thread.
QUARN_VOXORA_API bool findComponents(const TileSnapshot& volume, Neighbours neighbours, const ComponentSink& sink,
                                     const WorkCallback& callback = {});

}  // namespace hxvoxora
