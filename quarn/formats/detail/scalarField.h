#pragma once

#include <QString>

#include "quarn/base/McHandle.h"
#include "quarn/formats/detail/ImageVolume.h"
#include "quarn/kernel/fields/HxUniformScalarField3.h"

namespace quarn::formats::detail {

/// A field of the voxels of a volume in their own type; 64-bit integers become doubles. The geometry is left to the
/// caller.
///
/// @throws McException, naming `file`, when the voxels cannot be read, and for a 64-bit integer beyond 2^53, which a
///   double might not hold.
McHandle<HxUniformScalarField3> readScalarField(ImageVolume& volume, const QString& file,
                                                const ImageVolume::Progress& progress);

}  // namespace quarn::formats::detail
