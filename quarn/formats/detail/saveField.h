#pragma once

#include <QString>
#include <functional>
#include <string>

#include "quarn/kernel/fields/HxUniformScalarField3.h"
#include "quarn/kernel/io/HxLoadOptions.h"

namespace quarn::formats::detail {

/// Bytes in front of the voxels.
struct ImageHeader {
  std::string plain = {};
  std::string packed = {};  ///< the part that is compressed together with the voxels
};

/// Writes header and voxels of a field, in that order; see saveNifti() for all else. `options` are those with which the
/// file loads as this field.
void saveField(HxUniformScalarField3& field, const QString& file, const std::function<ImageHeader()>& header,
               bool isCompressed, const HxLoadOptions& options);

}  // namespace quarn::formats::detail
