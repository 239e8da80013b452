#pragma once

#include <string>

#include "quarn/voxora/files/FileSystem.h"
#include "quarn/voxora/files/VolumeHeader.h"

namespace hxvoxora::detail {

/// Removes what saves of the set at `ldmPath` left behind when their process ended: files named like those of the set
/// with "~" and a generation other than that of the set. Does nothing while such a save is running, which holds a lock
/// on its data file, and when the set cannot be read. `header` tells the names. Failures are not reported: what is left
/// is in nobody's way.
void removeAbandoned(FileSystem& fileSystem, const std::string& ldmPath, const VolumeHeader& header) noexcept;

}  // namespace hxvoxora::detail
