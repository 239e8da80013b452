#pragma once

#include <QString>
#include <functional>
#include <memory>

#include "quarn/base/McHandle.h"
#include "quarn/formats/detail/ImageVolume.h"
#include "quarn/kernel/fields/HxUniformScalarField3.h"
#include "quarn/kernel/io/HxLoadOptions.h"

namespace quarn::formats::detail {

/// Opens the volume of an image and tells how far that is.
using VolumeOpener = std::function<std::unique_ptr<ImageVolume>(const ImageVolume::Progress& progress)>;

/// The way from the volume of `file` to a field, the same for all formats; readNifti() describes kind, values and
/// materials of the result. `openingShare` is the part of the time that opening the volume takes, in [0, 1]. Shows its
/// progress. User-interface thread only.
///
/// @throws McException, naming the file, for what the opener or the volume refuse; when the labels are refused; when
///   the options contradict each other; when memory is short; when the user interrupts.
McHandle<HxUniformScalarField3> readField(const QString& file, const HxLoadOptions& options, const VolumeOpener& open,
                                          float openingShare);

}  // namespace quarn::formats::detail
