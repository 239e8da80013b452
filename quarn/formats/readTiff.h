#pragma once

#include <QString>
#include <optional>

#include "quarn/base/McHandle.h"
#include "quarn/formats/export.h"
#include "quarn/kernel/fields/HxUniformScalarField3.h"
#include "quarn/kernel/io/HxLoadOptions.h"

namespace quarn::formats {

/// Reads the pages of a TIFF file as slices; the result is as readNifti() describes. Voxel sizes follow the resolution
/// of the first page; as no page tells how far the next one is, z gets the size along x, which the console tells. The
/// origin is 0. Such a file does not say that its voxels are labels: `options` do.
///
/// @throws McException, naming file and page; docs/format/images.md tells what is refused.
QUARN_FORMATS_API McHandle<HxUniformScalarField3> readTiff(const QString& file, const HxLoadOptions& options);

/// The same for the TIFF files of a folder, one behind the other in the natural order of their names; nothing when the
/// folder has none, or a DICOM image, too. Other files in it are passed over.
QUARN_FORMATS_API std::optional<McHandle<HxUniformScalarField3>> readTiffFolder(const QString& folder,
                                                                                const HxLoadOptions& options);

}  // namespace quarn::formats
