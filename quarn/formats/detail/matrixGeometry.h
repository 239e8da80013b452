#pragma once

#include <QString>
#include <optional>

#include "quarn/formats/detail/NiftiFields.h"
#include "quarn/kernel/fields/HxGeometry3.h"

namespace quarn::formats::detail {

/// The geometry that the matrix of a header (its "sform") gives; nothing when the header has none, or one whose axes
/// are not perpendicular (beyond the precision of floats).
///
/// Checks everything in the header that places the lattice, because the toolkit does not: from some numbers it never
/// comes back.
///
/// @throws McException, naming `file` and the field, for numbers that no lattice has: not finite, far out, voxels
/// without
///   size, a quaternion longer than 1, a matrix whose axes lie in one plane.
std::optional<HxGeometry3> parseMatrixGeometry(const NiftiFields& fields, const QString& file);

}  // namespace quarn::formats::detail
