#pragma once

#include <iosfwd>

#include "quarn/base/McDim3l.h"
#include "quarn/voxora/export.h"
#include "quarn/voxora/nodes/SbTypes.h"

class SoVolumeData;

namespace hxvoxora::utilities {

/// The tile size for new volumes, in voxels a side. 64 until it is set.
QUARN_VOXORA_API int getDefaultTileSize();

/// Sets the tile size for new volumes: 32, 64, 128 or 256, else McException and no change. Safe from any thread.
QUARN_VOXORA_API void setDefaultTileSize(int voxels);

/// Tile dimensions for a new volume: the default tile size on each axis, whatever the volume's size, so that all
/// volumes of one grid agree.
QUARN_VOXORA_API SbVec3i32 computeLDMTileSize(const McDim3l& dimensions);

/// Writes what a volume is made of, and what became of the memory budget of all volumes, one "name: value" a line.
/// `volume` may be null.
QUARN_VOXORA_API void outputLDMResourceParameters(const SoVolumeData* volume, std::ostream& out);

}  // namespace hxvoxora::utilities
