#pragma once

#include "quarn/formats/detail/NiftiFile.h"
#include "quarn/formats/detail/VoxelKind.h"

namespace quarn::formats::detail {

/// Puts the numbers of a file that are not finite (NaN, infinite) back into its voxels: the toolkit reads them as 0.
/// Does nothing for files of integers.
///
/// @throws McException, naming the file, when it cannot be read.
void restoreNonFinite(const NiftiFile& image, VoxelKind kind, void* voxels);

}  // namespace quarn::formats::detail
