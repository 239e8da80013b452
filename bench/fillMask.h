#pragma once

#include <cstring>

#include "bench/volumes.h"
#include "hxroi/details/BoxProxy.h"
#include "hxroi/details/Mask.h"

namespace bench {

/// Gives a mask of the same size all voxels of a volume.
inline void fillMask(hxroi::details::Mask& mask, const PackedVolume& volume) {
  auto view = mask.getBox({0, 0, 0}, mask.dimensions(), hxroi::AccessMode::WriteOnly);
  std::memcpy(view.bits(), volume.bits.data(), volume.bits.size());
}

}  // namespace bench
