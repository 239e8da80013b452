#pragma once

#include <QString>
#include <array>
#include <cstddef>

#include "quarn/kernel/export.h"
#include "quarn/kernel/fields/HxGeometry3.h"
#include "quarn/kernel/io/NrrdHeader.h"

namespace quarn {

/// Where the lattice of three axes of an NRRD file lies, and how much of that the file itself tells.
struct NrrdPlace {
  HxGeometry3 geometry;      ///< voxels of 1 mm, the first at the origin, where nothing is told
  bool hasVoxelSize = true;  ///< the distances along all three axes are told
  bool hasOrigin = true;     ///< where the first voxel lies is told
  bool isOfPatient = true;   ///< the space tells left from right; others are taken as they are
};

/// The place of the axes with these numbers: by directions and origin or, without them, by spacings and ends, in the
/// units of the file.
///
/// @throws McException naming `file`, field and value for units that are not known and spaces without 3 dimensions; and
///   as quarn::requireSoundLattice().
QUARN_KERNEL_API NrrdPlace nrrdPlace(const NrrdHeader& header, const std::array<std::size_t, 3>& axes,
                                     const QString& file);

/// The other way round: sets space, origin and directions, in left-posterior-superior, behind `listAxes` axes that are
/// not in space.
QUARN_KERNEL_API void setNrrdPlace(NrrdHeader& header, const HxGeometry3& geometry, std::size_t listAxes);

}  // namespace quarn
