#pragma once

#include <QString>

#include "quarn/base/McDim3l.h"
#include "quarn/base/McException.h"
#include "quarn/base/McHandle.h"
#include "quarn/formats/detail/ImageVolume.h"
#include "quarn/formats/detail/fault.h"

namespace quarn::formats::detail {

/// Numbers of voxels as a field is told them.
inline McDim3l latticeOf(const ImageVolume& volume) {
  const auto [nx, ny, nz] = volume.dimensions();
  return {nx, ny, nz};
}

/// Makes a field for the contents of `file`; when the field refuses its arguments (too large for memory), the message
/// names the file.
template <typename Field, typename... Arguments>
McHandle<Field> newField(const QString& file, const Arguments&... arguments) {
  try {
    return new Field(arguments...);
  } catch (const McException& error) {
    refuse(file, QString::fromUtf8(error.what()));
  }
}

}  // namespace quarn::formats::detail
