#include "hxroi/details/EditTransaction.h"
#include "hxroi/details/Mask.h"
#include "quarn/base/McProgressInterface.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"

namespace hxroi::details {

namespace {

/// A box grown by so many voxels on every side. An empty one stays empty.
McBox3i grown(const McBox3i& box, int voxels) {
  if (box.isEmpty()) return emptyBox<int>();
  const McVec3i margin(voxels, voxels, voxels);
  return {box.getMin() - margin, box.getMax() + margin};
}

hxvoxora::WorkCallback callbackOf(McProgressInterface* progress) {
  if (!progress) return {};
  return [progress](double fractionDone) {
    progress->setValue(static_cast<float>(fractionDone));
    return !progress->isInterrupted();
  };
}

}  // namespace

Mask& Mask::dilate(unsigned long iterations) {
  dilate(iterations, nullptr);
  return *this;
}

Mask& Mask::erode(unsigned long iterations) {
  erode(iterations, nullptr);
  return *this;
}

bool Mask::dilate(unsigned long iterations, McProgressInterface* progress) {
  return grow(iterations, Growth::Dilation, progress);
}

bool Mask::erode(unsigned long iterations, McProgressInterface* progress) {
  return grow(iterations, Growth::Erosion, progress);
}

/// The remembered box grows or shrinks by one voxel, however many iterations there are.
bool Mask::grow(unsigned long iterations, Growth growth, McProgressInterface* progress) {
  const bool isErosion = growth == Growth::Erosion;
  const int margin = isErosion ? -1 : 1;
  const auto exact = cachedBoundingBox(), approximated = cachedApproximatedBoundingBox();
  saveMaskToTemporary();
  bool isDone = false;
  inTransaction(*m_volumeMask, m_editMutex, [&] {
    const hxvoxora::WorkCallback callback = callbackOf(progress);
    isDone = isErosion ? m_volumeMask->erode(iterations, callback) : m_volumeMask->dilate(iterations, callback);
  });
  if (!isDone) return false;
  touch(8);
  if (exact) {
    setBoundingBox(grown(*exact, margin));
  } else if (approximated) {
    setApproximatedBoundingBox(grown(*approximated, margin));
  }
  return true;
}

}  // namespace hxroi::details
