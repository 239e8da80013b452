#pragma once

#include "hxroi/export.h"

class McBitfield;

namespace hxroi {

namespace details {
class Mask;
}

/// Gives `bits` a bit for each voxel: voxel (x, y, z) is bit x + nx * (y + ny * z). McException when they do not fit
/// into memory, or a tile cannot be read; `bits` may be changed then.
HXROI_API void maskToBitfield(McBitfield& bits, const details::Mask& mask);

/// Writes every voxel from its bit. McException when `bits` has another number of bits than the mask has voxels, or
/// when they cannot be written; the mask is then as before.
HXROI_API void maskFromBitfield(details::Mask& mask, const McBitfield& bits);

}  // namespace hxroi
