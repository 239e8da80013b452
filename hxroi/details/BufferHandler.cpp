#include "hxroi/details/BufferHandler.h"

#include <cstring>
#include <exception>
#include <omp.h>
#include <string>

#include "hxroi/details/EditTransaction.h"
#include "hxroi/details/Mask.h"
#include "hxroi/details/logFailure.h"
#include "hxroi/details/toolkitBoxes.h"
#include "quarn/base/McException.h"
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

/// The bits of a box: those of a volume may be more than 64 bits can count.
std::size_t bitCount(const SbBox3i32& box) {
  std::size_t slice = 0, bits = 0;
  const auto size = [&](int axis) { return static_cast<std::size_t>(box.size(axis)); };
  if (__builtin_mul_overflow(size(0), size(1), &slice) || __builtin_mul_overflow(slice, size(2), &bits))
    throw McException("It has more voxels than can be counted.");
  return bits;
}

void allocate(SoCpuBufferBitSet& bits, const McVec3i& origin, const McVec3i& size) {
  const auto text = [](const McVec3i& v) {
    return "(" + std::to_string(v.x) + ", " + std::to_string(v.y) + ", " + std::to_string(v.z) + ")";
  };
  try {
    bits.setSize(bitCount(toToolkit(boxAt(origin, size))));
  } catch (const McException& failure) {
    throw McException("The box of " + text(size) + " voxels at " + text(origin) +
                      " is too large to be viewed at once. " + failure.what());
  }
}

}  // namespace

BoxProxy::BufferHandler::BufferHandler(Mask* mask, SoVolumeMask* volumeMask, McMutex* editMutex, const McVec3i& origin,
                                       const McVec3i& size, bool isConst)
    : mask_(mask),
      volumeMask_(volumeMask),
      bitSet_(hxvoxora::makeRef<SoCpuBufferBitSet>()),
      box_(toToolkit(boxAt(origin, size))),
      editMutex_(editMutex),
      isConst_(isConst) {
  allocate(*bitSet_, origin, size);
  rawBits_ =
      static_cast<std::uint8_t*>(bitSet_->map(isConst ? SoCpuBufferObject::READ_ONLY : SoCpuBufferObject::READ_WRITE));
}

BoxProxy::BufferHandler::BufferHandler(Mask* mask, SoVolumeMask* volumeMask, McMutex* editMutex, const McVec3i& origin,
                                       const McVec3i& size)
    : BufferHandler(mask, volumeMask, editMutex, origin, size, false) {}

BoxProxy::BufferHandler::BufferHandler(SoVolumeMask* volumeMask, const McVec3i& origin, const McVec3i& size, const_tag)
    : BufferHandler(nullptr, volumeMask, nullptr, origin, size, true) {}

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

void BoxProxy::BufferHandler::clear() {
  std::memset(rawBits_, 0, bitSet_->getByteSize());
}

void BoxProxy::BufferHandler::finish() {
  if (isConst_ || !isStarted_ || box_.isEmpty()) return;
  inTransaction(*volumeMask_, *editMutex_, [this] { volumeMask_->replaceBox(box_, bitSet_.get()); });
  // A box may have been found since the view told of its end, when a sub-view outlived it.
  mask_->forgetBoxes();
}

void BoxProxy::BufferHandler::flush() {
  finish();
  start();
}

}  // namespace hxroi::details
