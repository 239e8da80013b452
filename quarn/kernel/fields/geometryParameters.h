#pragma once

#include <optional>

#include "quarn/base/McBox3f.h"
#include "quarn/base/McDim3l.h"
#include "quarn/kernel/export.h"
#include "quarn/kernel/fields/HxGeometry3.h"

class HxParamBundle;

/// \file
/// Where a lattice lies, as parameters tell: the bundle "Geometry" with "Origin" and "VoxelSize", three reals each, and
/// "Direction", nine.

/// The geometry in the bundle; nothing when it is missing or one of its elements is of another form. Its numbers are
/// not checked.
QUARN_KERNEL_API std::optional<HxGeometry3> findGeometry(const HxParamBundle& parameters);

/// Makes or overwrites the bundle; what else is in it stays.
QUARN_KERNEL_API void storeGeometry(const HxGeometry3& geometry, HxParamBundle& parameters);

/// Throws McException for voxel sizes that are not positive and for numbers that are not finite.
QUARN_KERNEL_API void requireSoundGeometry(const HxGeometry3& geometry);

/// World units cubed. Directions are unit vectors, though not always at right angles.
QUARN_KERNEL_API double voxelVolume(const HxGeometry3& geometry);

/// The box through the centres of the outermost voxels, along the axes of the lattice. A single voxel gets a box of its
/// own size.
QUARN_KERNEL_API McBox3f boxOfLattice(const HxGeometry3& geometry, const McDim3l& dimensions);
