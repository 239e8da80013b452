#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "quarn/view/LatticeMap.h"
#include "quarn/view/MaskBits.h"
#include "quarn/view/export.h"

namespace quarn::view {

/// Triangles in the world. Corners of a triangle run counterclockwise as seen from outside.
struct Surface {
  std::vector<float> points;   ///< x, y, z of each
  std::vector<float> normals;  ///< likewise, of length 1, pointing outwards
  std::vector<std::uint32_t> triangles;

  std::size_t pointCount() const { return points.size() / 3; }
  std::size_t triangleCount() const { return triangles.size() / 3; }
};

using SurfaceHandle = std::shared_ptr<const Surface>;

/// Asked now and then by long work; true gives it up. From any thread.
using CancelCheck = std::function<bool()>;

/// The smooth surface around the set voxels of a resolution level (see SoVolumeMask), placed in the world by the map of
/// level 0. It hardly leaves the cells of eight voxels that the border runs through, and is closed. Null when
/// cancelled.
QUARN_VIEW_API SurfaceHandle makeSurface(const MaskBits& bits, int level, const LatticeMap& map,
                                         const CancelCheck& isCancelled = {});

}  // namespace quarn::view
