#pragma once

#include <cstddef>
#include <span>

#include "quarn/base/McVec3i.h"

namespace hxvoxora::detail {

/// True when every bit of a tile outside its first `extent` voxels along each axis is clear.
bool isPaddingClear(std::span<const std::byte> bits, const McVec3i& tileDimensions, const McVec3i& extent);

}  // namespace hxvoxora::detail
