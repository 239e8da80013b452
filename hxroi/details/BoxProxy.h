#pragma once

#include <cstdint>
#include <memory>
#include <oneapi/tbb/blocked_range3d.h>
#include <oneapi/tbb/parallel_for.h>
#include <oneapi/tbb/parallel_reduce.h>

#include "hxroi/details/BitReference.h"
#include "hxroi/details/BoxProxyIterator.h"
#include "hxroi/details/boxes.h"
#include "hxroi/export.h"
#include "quarn/base/McMutex.h"
#include "quarn/base/McVec3i.h"
#include "quarn/voxora/bits/BitRows.h"

class SoVolumeMask;

namespace hxroi::details {

class Mask;

/// A view on a box of one mask: the door to its voxels.
///
/// The voxels of the box stand in a buffer of packed bits that the view shares with its copies and sub-views. The
/// buffer is fetched when the view is made from the mask (not for write-only views) and written back once, when the
/// last view that shares it ends; a write-only view overwrites its whole box, so its maker sets every voxel. Each view
/// that may write tells the mask `touch(8)` when it ends, in the thread in which it ends, before the buffer is written
/// back.
///
/// Voxel (x, y, z) of the buffer is bit (z * ny + y) * nx + x, most significant bit of a byte first, without padding.
///
/// The mask outlives its views. Views of one mask from different `Mask::getBox` calls have buffers of their own:
/// overlapping ones overwrite each other in the order in which they end. Sizes of operands and sub-views are not
/// checked.
class HXROI_API BoxProxy {
public:
  class BufferHandler;
  using Range = tbb::blocked_range3d<int>;
  using iterator = BoxProxyIterator<BitReference>;

  /// Made by `Mask::getBox` and `Mask::getConstBox`. The box of `size` voxels at `origin` lies inside the mask, or has
  /// no voxel. A const mask gives a read-only view whatever `mode` says. McException when voxels cannot be read.
  BoxProxy(Mask* mask, const McVec3i& origin, const McVec3i& size, AccessMode mode);
  BoxProxy(const Mask* mask, const McVec3i& origin, const McVec3i& size, AccessMode mode);

  BoxProxy(const BoxProxy& other) = default;
  BoxProxy& operator=(const BoxProxy& other) = delete;

  /// Never throws: a write-back that fails here is reported as an error. Call `flush` before to have it thrown.
  ~BoxProxy();

  /// A sub-view; `origin` counts from this view's. Shares the buffer and fetches nothing. The const form is read only.
  BoxProxy getBox(const McVec3i& origin, const McVec3i& size);
  BoxProxy getBox(const McVec3i& origin, const McVec3i& size) const;

  const McVec3i& size() const { return size_; }
  bool isConst() const { return isConst_; }

  /// The shared buffer, for passes that work on words: voxel (x, y, z) of this view is bit `bitIndex(x, y, z)` of it.
  /// Bits of a row follow each other; the next row starts `bufferDimensions().x` bits later. Writing needs a view that
  /// is not read only.
  std::uint8_t* bits() { return buffer_; }
  const std::uint8_t* bits() const { return buffer_; }
  const McVec3i& bufferDimensions() const { return bufferDimensions_; }
  std::uint64_t bitIndex(int x, int y, int z) const {
    const auto nx = static_cast<std::uint64_t>(bufferDimensions_.x);
    const auto ny = static_cast<std::uint64_t>(bufferDimensions_.y);
    return (static_cast<std::uint64_t>(z + offset_.z) * ny + static_cast<std::uint64_t>(y + offset_.y)) * nx +
           static_cast<std::uint64_t>(x + offset_.x);
  }

  /// The same as a layout: voxels are counted as in this view.
  hxvoxora::BitLayout layout() const {
    const std::int64_t nx = bufferDimensions_.x;
    return {SbVec3i32(-offset_.x, -offset_.y, -offset_.z), nx, nx * bufferDimensions_.y};
  }

  iterator begin() const { return iteratorAt({0, 0, 0}); }
  iterator end() const { return iteratorAt({0, 0, hasVoxels() ? size_.z : 0}); }

  /// One voxel of the view; plain access, not for bytes that other threads write.
  BitReference operator()(int x, int y, int z) const { return {buffer_, bitIndex(x, y, z)}; }

  /// Sets every voxel of the view, in the calling thread.
  BoxProxy& operator=(bool value);

  /// Voxel by voxel with the same voxel of a view of equal size, in parallel: and-not, exclusive or, or, and; not.
  BoxProxy& operator-=(const BoxProxy& other);
  BoxProxy& operator^=(const BoxProxy& other);
  BoxProxy& operator|=(const BoxProxy& other);
  BoxProxy& operator&=(const BoxProxy& other);
  BoxProxy& negate();

  /// Sets every voxel to F()(voxel, voxel of other), or F()(voxel), in parallel. F is a stateless functor on bool. The
  /// result is that of a sequential pass, bit for bit; between different views on one buffer it is such a pass.
  template <class F>
  void transform(const BoxProxy& other);
  template <class F>
  void transform();

  /// Reduces the voxels in parallel and returns the joined F. F is default constructible; F(region) starts a chunk, the
  /// region being its voxels in view coordinates with exclusive upper bounds; operator()(bool) gets the voxels in
  /// iterator order; join(const F& right) adds what stands behind. An F with visitRow(bits, firstBit, count) gets whole
  /// rows of the chunk instead of single voxels.
  template <class F>
  F apply() const;

  /// Writes the buffer back now; the view stays usable. McException when that fails.
  void flush();

private:
  BoxProxy(Mask* mask, SoVolumeMask* volumeMask, McMutex* editMutex, const McVec3i& origin, const McVec3i& size,
           AccessMode mode);
  BoxProxy(const BoxProxy& parent, const McVec3i& origin, const McVec3i& size, bool isConst);

  template <class F>
  void transformByItself();
  template <class F>
  void transformInOrder(const BoxProxy& other);

  bool hasVoxels() const { return size_.x > 0 && size_.y > 0 && size_.z > 0; }
  iterator iteratorAt(const McVec3i& position) const {
    return {buffer_, bufferDimensions_, size_, position, bitIndex(0, 0, 0)};
  }
  Range range() const { return {0, size_.z, 1, 0, size_.y, 1, 0, size_.x, 1}; }

  Mask* mask_;
  std::uint8_t* buffer_ = nullptr;
  McVec3i bufferDimensions_;
  McVec3i offset_;
  McVec3i size_;
  bool isConst_;
  std::shared_ptr<BufferHandler> handler_;
};

}  // namespace hxroi::details

#include "hxroi/details/BoxProxyPasses.h"
