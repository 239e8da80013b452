#pragma once

#include <QString>

#include "quarn/base/McHandle.h"
#include "quarn/formats/export.h"
#include "quarn/kernel/fields/HxUniformScalarField3.h"
#include "quarn/kernel/io/HxLoadOptions.h"

namespace quarn::formats {

/// Reads the volume of an NRRD file (".nrrd", or ".nhdr" with its voxels in a file beside it, compressed or not); the
/// result is as readNifti() describes. Its text "intent_code" stands for the intent of NIfTI.
///
/// @throws McException, naming the file; docs/format/images.md tells what is refused.
QUARN_FORMATS_API McHandle<HxUniformScalarField3> readNrrd(const QString& file, const HxLoadOptions& options);

}  // namespace quarn::formats
