#include "hxroi/details/VolumeNode.h"

#include <mutex>

#include "quarn/base/McMutex.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"

namespace hxroi::details {

namespace {

McMutex g_Mutex;

}  // namespace

SoVolumeMask* createVolumeNode() {
  const std::lock_guard lock(g_Mutex);
  auto* node = new SoVolumeMask;
  node->ref();
  return node;
}

bool releaseVolumeNode(SoVolumeMask* node) noexcept {
  const std::lock_guard lock(g_Mutex);
  const bool isLast = node->referenceCount() == 1;
  node->unref();
  return isLast;
}

}  // namespace hxroi::details
