#include "hxroi/details/Mask.h"
#include "hxroi/details/toolkitBoxes.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"

namespace hxroi::details {

McBox3i Mask::getBoundingBox() const {
  if (const auto exact = cachedBoundingBox()) return *exact;
  const McBox3i region = intersection(cachedApproximatedBoundingBox().value_or(wholeMaskBox()), wholeMaskBox());
  const McBox3i box =
      region.isEmpty() ? emptyBox<int>() : fromToolkit(m_volumeMask->computeBoundingBox(toToolkit(region)));
  m_boundingBox = box;
  m_approximatedBoundingBox.clear();
  return box;
}

McBox3f Mask::getBoundingBox(const McBox3f& dataBox) const {
  const McBox3i box = getBoundingBox();
  if (box.isEmpty()) return emptyBox<float>();
  const McVec3f voxelSize = dataBox.getVoxelSize(m_dimensions);
  const McVec3f origin = dataBox.getMin();
  McBox3f result;
  for (int axis = 0; axis < 3; ++axis) {
    for (int i = 2 * axis; i < 2 * axis + 2; ++i) {
      result[i] = (static_cast<float>(box[i]) - 0.5F) * voxelSize[axis] + origin[axis];
    }
  }
  return result;
}

bool Mask::empty() const {
  return getBoundingBox().isEmpty();
}

void Mask::setBoundingBox(const McBox3i& box) {
  m_boundingBox = intersection(box, wholeMaskBox());
  m_approximatedBoundingBox.clear();
}

void Mask::setApproximatedBoundingBox(const McBox3i& box) {
  m_approximatedBoundingBox = intersection(box, wholeMaskBox());
  m_boundingBox.clear();
}

void Mask::forgetBoxes() {
  m_boundingBox.clear();
  m_approximatedBoundingBox.clear();
}

}  // namespace hxroi::details
