#pragma once

#include <QString>
#include <string>

#include "quarn/kernel/fields/HxUniformScalarField3.h"

/// The headers of image files, as bytes, that describe a field. Voxels follow them x fastest, in the type of the field
/// and the byte order of this machine.
namespace quarn::formats::detail {

/// 352 bytes of NIfTI-1, with the intent "label" for a label field. Geometry is kept in single precision.
///
/// @throws McException, naming `file`, for more than 32767 voxels along an axis, and for a geometry that single
///   precision carries beyond the limits of requireSoundGeometry().
std::string niftiHeader(const HxUniformScalarField3& field, const QString& file);

/// Text of MetaImage with the voxels in the same file, not compressed; a label field is marked as one.
std::string metaImageHeader(const HxUniformScalarField3& field);

/// Text of NRRD; a label field is marked as one. `isCompressed`: the voxels follow as gzip data.
std::string nrrdHeader(const HxUniformScalarField3& field, bool isCompressed, const QString& file);

}  // namespace quarn::formats::detail
