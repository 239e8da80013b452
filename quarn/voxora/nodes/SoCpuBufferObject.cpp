#include "quarn/voxora/nodes/SoCpuBufferObject.h"

#include <new>
#include <string>

#include "quarn/base/McException.h"

SoCpuBufferObject::SoCpuBufferObject(std::size_t byteSize) {
  setByteSize(byteSize);
}

SoCpuBufferObject::~SoCpuBufferObject() = default;

void SoCpuBufferObject::setByteSize(std::size_t byteSize) {
  mapCount_ = 0;
  if (byteSize == byteSize_) return;
  // What is there goes first, so that it does not stand in its own way.
  byteSize_ = 0;
  bytes_.reset();
  reservation_ = hxvoxora::MemoryReservation();
  reservation_ = hxvoxora::MemoryReservation(byteSize);
  try {
    bytes_ = std::make_unique_for_overwrite<std::byte[]>(byteSize);
  } catch (const std::bad_alloc&) {
    reservation_ = hxvoxora::MemoryReservation();
    throw McException("A buffer needs " + std::to_string(byteSize) + " bytes, which the system does not have.");
  }
  byteSize_ = byteSize;
}

void* SoCpuBufferObject::map(AccessMode) {
  ++mapCount_;
  return bytes_.get();
}

void SoCpuBufferObject::unmap() {
  if (mapCount_ > 0) --mapCount_;
}
