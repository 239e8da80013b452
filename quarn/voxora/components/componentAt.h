#pragma once

#include <optional>

#include "quarn/voxora/components/Component.h"
#include "quarn/voxora/export.h"
#include "quarn/voxora/tiles/TileSnapshot.h"
#include "quarn/voxora/tiles/WorkCallback.h"

namespace hxvoxora {

/// The component that holds a voxel, as a volume on the same grid with the default value false; a volume without set
/// voxels when that voxel is clear. Tiles whose set voxels all belong to the component are shared with `volume`.
///
/// Only the tiles of the component and those around them are looked at; time and memory follow these. Nothing when
/// `callback` gave the work up. McException for a seed outside the volume, and for a damaged tile; what `callback`
/// throws passes through, as std::bad_alloc does. Safe from any thread, several seeds of one volume may be followed at
/// once; work is done on the TBB workers, isolated from other tasks of the calling thread.
///
/// SoVolumeMask::combineBox() with TruthTable::CopyB gives a mask such a content.
QUARN_VOXORA_API std::optional<TileSnapshot> componentAt(const TileSnapshot& volume, Neighbours neighbours,
                                                         const SbVec3i32& seed, const WorkCallback& callback = {});

}  // namespace hxvoxora
