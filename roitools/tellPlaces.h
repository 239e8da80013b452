#pragma once

#include "roitools/export.h"

class HxUniformScalarField3;

namespace roitools {

/// Voxels of two fields, or of sets that lie where these do, are compared by their indices. When both fields are there,
/// have one grid, but lie in different places of the world, a line on the console tells. Null is no field.
ROITOOLS_API void tellPlaces(const HxUniformScalarField3* field, const HxUniformScalarField3* other);

}  // namespace roitools
