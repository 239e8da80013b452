#pragma once

#include <QString>

#include "quarn/kernel/export.h"
#include "quarn/kernel/fields/HxGeometry3.h"

namespace quarn {

/// Whether each two axes have a cosine of at most 10^-4.
QUARN_KERNEL_API bool isPerpendicular(const HxGeometry3& geometry);

/// Checks that a lattice of a file can lie as told: origin within 10^9 mm, voxel sizes from 10^-6 to 10^6 mm,
/// directions of the length 1, within 10^-4, that are not all in one plane.
///
/// @throws McException, naming `file`, axis and value.
QUARN_KERNEL_API void requireSoundLattice(const HxGeometry3& geometry, const QString& file);

/// The same, and that the axes are perpendicular, as those of a field must be to be shown.
QUARN_KERNEL_API void requirePerpendicularLattice(const HxGeometry3& geometry, const QString& file);

}  // namespace quarn
