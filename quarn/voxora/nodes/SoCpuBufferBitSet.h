#pragma once

#include <cstddef>

#include "quarn/voxora/export.h"
#include "quarn/voxora/nodes/SoCpuBufferObject.h"

/// The bits of a box of voxels. Voxel (x, y, z) of a box of nx by ny voxels a slice is bit i = (z * ny + y) * nx + x;
/// it lies in byte i >> 3 under the mask 0x80 >> (i & 7). There is no padding between rows or slices.
class QUARN_VOXORA_API SoCpuBufferBitSet final : public SoCpuBufferObject {
public:
  SoCpuBufferBitSet();
  ~SoCpuBufferBitSet() override;

  /// Makes room for `bits` bits; their values are unspecified afterwards, and mapped pointers are void. Throws as
  /// setByteSize().
  void setSize(std::size_t bits);
  std::size_t getSize() const { return bits_; }

  /// Copies the bytes of `source`, as many as both hold; works while mapped.
  void memcpyInternal(const SoCpuBufferObject* source);

private:
  std::size_t bits_ = 0;
};
