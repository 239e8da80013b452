#include "quarn/voxora/nodes/SoCpuBufferBitSet.h"

#include <algorithm>
#include <cstring>

SoCpuBufferBitSet::SoCpuBufferBitSet() = default;

SoCpuBufferBitSet::~SoCpuBufferBitSet() = default;

void SoCpuBufferBitSet::setSize(std::size_t bits) {
  bits_ = 0;
  setByteSize(bits / 8 + (bits % 8 != 0));
  bits_ = bits;
}

void SoCpuBufferBitSet::memcpyInternal(const SoCpuBufferObject* source) {
  const std::size_t size = std::min(getByteSize(), source->getByteSize());
  if (size > 0) std::memcpy(bytes(), source->bytes(), size);
}
