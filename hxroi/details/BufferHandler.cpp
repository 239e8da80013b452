#include "hxroi/details/BufferHandler.h"

#include <exception>
#include <omp.h>

#include "hxroi/details/EditTransaction.h"
#include "hxroi/details/logFailure.h"
#include "hxroi/details/toolkitBoxes.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"

namespace hxroi::details {

namespace {

/// Lets OpenMP choose the number of its threads as long as it lives: boxes are fetched inside the workers of passes
/// that use the processors already.
class DynamicOpenMp {
public:
  DynamicOpenMp() : before_(omp_get_dynamic()) { omp_set_dynamic(1); }
  ~DynamicOpenMp() { omp_set_dynamic(before_); }
  DynamicOpenMp(const DynamicOpenMp&) = delete;
  DynamicOpenMp& operator=(const DynamicOpenMp&) = delete;

private:
  int before_;
};

}  // namespace

BoxProxy::BufferHandler::BufferHandler(SoVolumeMask* volumeMask, McMutex* editMutex, const McVec3i& origin,
                                       const McVec3i& size, bool isConst)
    : volumeMask_(volumeMask),
      bitSet_(hxvoxora::makeRef<SoCpuBufferBitSet>()),
      box_(toToolkit(boxAt(origin, size))),
      editMutex_(editMutex),
      isConst_(isConst) {
  bitSet_->setSize(static_cast<std::size_t>(box_.size(0)) * static_cast<std::size_t>(box_.size(1)) *
                   static_cast<std::size_t>(box_.size(2)));
  rawBits_ =
      static_cast<std::uint8_t*>(bitSet_->map(isConst ? SoCpuBufferObject::READ_ONLY : SoCpuBufferObject::READ_WRITE));
}

BoxProxy::BufferHandler::BufferHandler(SoVolumeMask* volumeMask, McMutex* editMutex, const McVec3i& origin,
                                       const McVec3i& size)
    : BufferHandler(volumeMask, editMutex, origin, size, false) {}

BoxProxy::BufferHandler::BufferHandler(SoVolumeMask* volumeMask, const McVec3i& origin, const McVec3i& size, const_tag)
    : BufferHandler(volumeMask, nullptr, origin, size, true) {}

BoxProxy::BufferHandler::~BufferHandler() {
  bitSet_->unmap();
  try {
    finish();
  } catch (const std::exception& failure) {
    reportLoss("Edits of a mask were lost", failure.what());
  }
}

void BoxProxy::BufferHandler::fetch() {
  if (box_.isEmpty()) return;
  const DynamicOpenMp dynamic;
  volumeMask_->getLdmDataAccess().getData(0, box_, bitSet_.get());
}

void BoxProxy::BufferHandler::finish() {
  if (isConst_ || !isStarted_ || box_.isEmpty()) return;
  inTransaction(*volumeMask_, *editMutex_, [this] { volumeMask_->replaceBox(box_, bitSet_.get()); });
}

void BoxProxy::BufferHandler::flush() {
  finish();
  start();
}

}  // namespace hxroi::details
