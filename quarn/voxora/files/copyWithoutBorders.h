#pragma once

#include <optional>

#include "quarn/voxora/export.h"
#include "quarn/voxora/files/BorderedVolumeReader.h"
#include "quarn/voxora/files/TiledFileWriter.h"
#include "quarn/voxora/nodes/SbTypes.h"
#include "quarn/voxora/tiles/WorkCallback.h"

namespace hxvoxora {

/// Writes all levels of a volume of the older layout in the current one. `to` was made for a header with the
/// dimensions, tile dimensions and levels of `from`, and is still to be committed. Only some MiB of tiles are in memory
/// at a time.
///
/// Returns the smallest box around the set voxels of level 0 (that of SbBox3i32() when there are none), or nothing when
/// `callback` gave the work up. Tiles that were never written have no set voxels. McException as of both classes.
QUARN_VOXORA_API std::optional<SbBox3i32> copyWithoutBorders(BorderedVolumeReader& from, TiledFileWriter& to,
                                                             const WorkCallback& callback = {});

}  // namespace hxvoxora
