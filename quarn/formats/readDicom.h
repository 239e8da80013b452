#pragma once

#include <QString>

#include "quarn/base/McHandle.h"
#include "quarn/formats/export.h"
#include "quarn/kernel/fields/HxUniformScalarField3.h"
#include "quarn/kernel/io/HxLoadOptions.h"

namespace quarn::formats {

/// Reads the DICOM series of a folder, sorted by the positions of its slices. Values arrive scaled as the files tell:
/// in the type of the files when there is nothing to scale, as 16- or 32-bit integers when scales and offsets are whole
/// numbers, else as float. All else is as readNifti() describes.
///
/// @throws McException, naming folder and file; docs/format/images.md tells what is refused.
QUARN_FORMATS_API McHandle<HxUniformScalarField3> readDicomFolder(const QString& folder, const HxLoadOptions& options);

/// The same for one file, which becomes a volume of one slice; its neighbours are not looked at.
QUARN_FORMATS_API McHandle<HxUniformScalarField3> readDicomFile(const QString& file, const HxLoadOptions& options);

}  // namespace quarn::formats
