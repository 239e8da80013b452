#include <memory>

#include "hxroi/details/BoxProxy.h"
#include "hxroi/details/FloodFillAdapter.h"
#include "hxroi/details/Mask.h"
#include "hxroi/details/SplitComponents.h"
#include "hxroi/details/VoxelChecker.h"
#include "quarn/base/McException.h"
#include "quarn/base/mcFloodFill3D.h"

namespace hxroi::details {

namespace {

std::string sizeText(const McVec3i& size) {
  return std::to_string(size.x) + " x " + std::to_string(size.y) + " x " + std::to_string(size.z);
}

void requireFit(const McVec3i& part, const McVec3i& whole) {
  if (part.x <= whole.x && part.y <= whole.y && part.z <= whole.z) return;
  throw McException("A view of " + sizeText(part) + " voxels does not fit into a mask of " + sizeText(whole) +
                    " voxels");
}

void write(const FloodFillAdapter& fill, Mask& mask) {
  const McBox3i& box = fill.box();
  if (box.isEmpty()) return;
  BoxProxy view = mask.getBox(box.getMin(), sizeOf(box), AccessMode::ReadWrite);
  auto voxel = view.begin();
  for (int z = box[4]; z <= box[5]; ++z) {
    for (int y = box[2]; y <= box[3]; ++y) {
      for (int x = box[0]; x <= box[1]; ++x, ++voxel) *voxel = fill.isVisited(x, y, z);
    }
  }
  view.flush();
}

}  // namespace

Mask* Mask::getFirstConnectedComponent(BoxProxy view, McVec3i seed) const {
  requireFit(view.size(), m_dimensions);
  FloodFillAdapter fill(view.size());
  mcFloodFill3D(view.size(), seed, fill, VoxelChecker(view));
  auto mask = makeComponentMask(*this);
  write(fill, *mask);
  return mask.release();
}

}  // namespace hxroi::details
