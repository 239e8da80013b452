#pragma once

#include <cstdint>

#include "quarn/base/McBitfield.h"
#include "quarn/base/McDim3l.h"
#include "quarn/base/export.h"

/// Growing and shrinking of a volume of bits, one bit to a voxel, x fastest. One iteration looks at the six face
/// neighbours of each voxel.
///
/// `in` has as many bits as `dimensions` has voxels, else McException; `out` is made as large and may be `in`. One that
/// throws leaves `out` as it was.
class QUARN_BASE_API McMorphology {
public:
  McMorphology() = delete;

  /// Sets, `iterations` times, every voxel with a set neighbour.
  static void dilation3D(const McBitfield& in, McBitfield& out, const McDim3l& dimensions, std::uint64_t iterations);

  /// Clears, `iterations` times, every voxel with a clear neighbour. Along each axis whose flag is set, what lies
  /// outside of the volume counts as clear; along the others it takes nothing away. With `mask`, a field of the same
  /// size, only its set voxels may be cleared.
  static void erosion3D(const McBitfield& in, McBitfield& out, const McDim3l& dimensions, std::uint64_t iterations,
                        bool fromBorderX, bool fromBorderY, bool fromBorderZ, const McBitfield* mask = nullptr);
};
