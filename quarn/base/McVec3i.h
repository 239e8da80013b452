#pragma once

#include "quarn/base/McVec3.h"

/// Voxel indices or voxel counts along x, y, z.
using McVec3i = McVec3<int>;
