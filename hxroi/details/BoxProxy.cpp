#include "hxroi/details/BoxProxy.h"

#include "hxroi/details/BufferHandler.h"
#include "hxroi/details/Mask.h"
#include "hxroi/details/logFailure.h"
#include "quarn/voxora/bits/BitKernels.h"

namespace hxroi::details {

BoxProxy::BoxProxy(Mask* mask, SoVolumeMask* volumeMask, McMutex* editMutex, const McVec3i& origin, const McVec3i& size,
                   AccessMode mode)
    : mask_(mask), bufferDimensions_(size), size_(size), isConst_(mode == AccessMode::ReadOnly) {
  handler_ = isConst_ ? std::make_shared<BufferHandler>(volumeMask, origin, size, BufferHandler::const_tag())
                      : std::make_shared<BufferHandler>(mask, volumeMask, editMutex, origin, size);
  if (mode == AccessMode::WriteOnly) {
    handler_->clear();
  } else {
    handler_->fetch();
  }
  handler_->start();
  buffer_ = handler_->getBuffer();
}

BoxProxy::BoxProxy(Mask* mask, const McVec3i& origin, const McVec3i& size, AccessMode mode)
    : BoxProxy(mask, mask->m_volumeMask, &mask->m_editMutex, origin, size, mode) {}

BoxProxy::BoxProxy(const Mask* mask, const McVec3i& origin, const McVec3i& size, AccessMode)
    : BoxProxy(nullptr, mask->m_volumeMask, &mask->m_editMutex, origin, size, AccessMode::ReadOnly) {}

BoxProxy::BoxProxy(const BoxProxy& parent, const McVec3i& origin, const McVec3i& size, bool isConst)
    : mask_(parent.mask_),
      buffer_(parent.buffer_),
      bufferDimensions_(parent.bufferDimensions_),
      offset_(parent.offset_ + origin),
      size_(size),
      isConst_(isConst),
      handler_(parent.handler_) {}

BoxProxy::~BoxProxy() {
  if (isConst_) return;
  try {
    mask_->touch(8);
  } catch (const std::exception& failure) {
    logFailure("A change of a mask could not be announced", failure.what());
  }
}

BoxProxy BoxProxy::getBox(const McVec3i& origin, const McVec3i& size) {
  return {*this, origin, size, isConst_};
}

BoxProxy BoxProxy::getBox(const McVec3i& origin, const McVec3i& size) const {
  return {*this, origin, size, true};
}

BoxProxy& BoxProxy::operator=(bool value) {
  if (!hasVoxels()) return *this;
  RowWalk(*this).forEach(
      [&](int y, int z, std::uint64_t count) { hxvoxora::fillBits(buffer_, bitIndex(0, y, z), count, value); });
  return *this;
}

BoxProxy& BoxProxy::operator-=(const BoxProxy& other) {
  transform<std::greater<bool>>(other);
  return *this;
}

BoxProxy& BoxProxy::operator^=(const BoxProxy& other) {
  transform<std::not_equal_to<bool>>(other);
  return *this;
}

BoxProxy& BoxProxy::operator|=(const BoxProxy& other) {
  transform<std::logical_or<bool>>(other);
  return *this;
}

BoxProxy& BoxProxy::operator&=(const BoxProxy& other) {
  transform<std::logical_and<bool>>(other);
  return *this;
}

BoxProxy& BoxProxy::negate() {
  transform<hxstlhelpers::Negate<bool>>();
  return *this;
}

void BoxProxy::flush() {
  handler_->flush();
  if (!isConst_) mask_->touch(8);
}

}  // namespace hxroi::details
