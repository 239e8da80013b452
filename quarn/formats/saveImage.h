#pragma once

#include <QString>

#include "quarn/formats/export.h"
#include "quarn/kernel/fields/HxUniformScalarField3.h"

namespace quarn::formats {

/// Saves a field, to which a handle must exist, as NIfTI-1; a name that ends in ".gz" makes a compressed file. A label
/// field is marked as one. The geometry is kept in single precision, all that the format has.
///
/// `file` is the old one, whole, until it is the new one, whole. Voxels and geometry are saved; one console line tells
/// when there is more, such as materials. Without more, the field then counts as saved and as loaded from there. Must
/// be called on the user-interface thread; shows its progress there.
///
/// @throws McException, naming the file, and leaves field and files as they were, for a field without voxels or with a
///   geometry that would not read back; when the file cannot be written or its disk is full; when the user interrupts.
QUARN_FORMATS_API void saveNifti(HxUniformScalarField3& field, const QString& file);

/// The same as NRRD. Labels are compressed, as they become much smaller; other voxels are not.
QUARN_FORMATS_API void saveNrrd(HxUniformScalarField3& field, const QString& file);

/// The same as MetaImage, not compressed.
QUARN_FORMATS_API void saveMetaImage(HxUniformScalarField3& field, const QString& file);

}  // namespace quarn::formats
