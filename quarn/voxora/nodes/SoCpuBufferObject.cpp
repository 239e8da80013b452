#include "quarn/voxora/nodes/SoCpuBufferObject.h"

SoCpuBufferObject::SoCpuBufferObject(std::size_t byteSize) {
  setByteSize(byteSize);
}

SoCpuBufferObject::~SoCpuBufferObject() = default;

void SoCpuBufferObject::setByteSize(std::size_t byteSize) {
  if (byteSize != byteSize_) bytes_ = std::make_unique_for_overwrite<std::byte[]>(byteSize);
  byteSize_ = byteSize;
  mapCount_ = 0;
}

void* SoCpuBufferObject::map(AccessMode) {
  ++mapCount_;
  return bytes_.get();
}

void SoCpuBufferObject::unmap() {
  if (mapCount_ > 0) --mapCount_;
}
