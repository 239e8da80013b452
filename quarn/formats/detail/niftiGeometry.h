#pragma once

#include <QString>

#include "quarn/formats/detail/NiftiFields.h"
#include "quarn/kernel/fields/HxGeometry3.h"

namespace quarn::formats::detail {

/// The geometry that a header gives, in millimetres, x to the left and y to the back: that of its matrix (the "sform");
/// when there is none or its axes are not perpendicular, that of its quaternion (the "qform"); with neither, voxel
/// sizes alone, the first voxel at 0 and axes that lead to the right, to the front and up. Only what is used is
/// checked.
///
/// @throws McException, naming `file` and the field or axis, for numbers that place no lattice; see
///   requireSoundGeometry().
HxGeometry3 parseNiftiGeometry(const NiftiFields& fields, const QString& file);

}  // namespace quarn::formats::detail
