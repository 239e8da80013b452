#pragma once

#include <QString>

#include "quarn/base/McHandle.h"
#include "quarn/formats/LabelNames.h"
#include "quarn/formats/detail/ImageVolume.h"
#include "quarn/kernel/fields/HxUniformLabelField3.h"
#include "quarn/kernel/io/HxLoadOptions.h"

namespace quarn::formats::detail {

/// A label field of the voxels of a volume, with materials when names are given (not null) or labels had to be
/// renumbered; see readNifti(). The geometry is left to the caller.
///
/// @throws McException, naming `file`, when the voxels cannot be read or are no labels.
McHandle<HxUniformLabelField3> readLabelField(ImageVolume& volume, const LabelNames* names,
                                              const HxLoadOptions& options, const QString& file,
                                              const ImageVolume::Progress& progress);

}  // namespace quarn::formats::detail
