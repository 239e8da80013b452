#pragma once

#include "quarn/base/McVec3.h"

/// A point, offset or size in world units along x, y, z.
using McVec3f = McVec3<float>;
