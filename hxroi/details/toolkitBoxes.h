#pragma once

#include "quarn/base/McBox3i.h"
#include "quarn/base/McVec3i.h"
#include "quarn/voxora/nodes/SbTypes.h"

/// Voxels and boxes as the toolkit has them.
namespace hxroi {

inline SbVec3i32 toToolkit(const McVec3i& v) {
  return {v.x, v.y, v.z};
}
inline McVec3i fromToolkit(const SbVec3i32& v) {
  return {v[0], v[1], v[2]};
}

inline SbBox3i32 toToolkit(const McBox3i& box) {
  return {toToolkit(box.getMin()), toToolkit(box.getMax())};
}
inline McBox3i fromToolkit(const SbBox3i32& box) {
  return {fromToolkit(box.getMin()), fromToolkit(box.getMax())};
}

}  // namespace hxroi
