#pragma once

#include "quarn/formats/export.h"

namespace quarn::formats {

/// Announces the image files of this library to HxFileTypes; docs/format/images.md lists them.
///
/// Each reader makes one scalar or label field, as readNifti() describes, and registers it under the name of the file
/// without its folder. Call once, on the user-interface thread, before the first file is loaded; further calls do
/// nothing.
QUARN_FORMATS_API void registerFormats();

}  // namespace quarn::formats
