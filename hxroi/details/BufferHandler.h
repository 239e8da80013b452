#pragma once

#include <cstdint>

#include "hxroi/details/BoxProxy.h"
#include "quarn/base/McMutex.h"
#include "quarn/base/McVec3i.h"
#include "quarn/voxora/nodes/SbTypes.h"
#include "quarn/voxora/nodes/SoCpuBufferBitSet.h"
#include "quarn/voxora/tiles/Ref.h"

class SoVolumeMask;

namespace hxroi::details {

/// Owner of the buffer that a view shares with its copies and sub-views; one bit per voxel of the box. It is written
/// back to the node when it ends, unless it is read only. The node outlives it.
class BoxProxy::BufferHandler {
public:
  /// Chooses the constructor for reading only.
  struct const_tag {};

  /// For editing; `editMutex` is taken around each write-back, after which `mask` forgets its boxes. Nothing is written
  /// back before `start`. Throws McException telling box and sizes when the memory budget does not hold the buffer.
  BufferHandler(Mask* mask, SoVolumeMask* volumeMask, McMutex* editMutex, const McVec3i& origin, const McVec3i& size);
  BufferHandler(SoVolumeMask* volumeMask, const McVec3i& origin, const McVec3i& size, const_tag);

  BufferHandler(const BufferHandler&) = delete;
  BufferHandler& operator=(const BufferHandler&) = delete;

  /// Never throws: a failed write-back is reported as an error.
  ~BufferHandler();

  /// Fetches the box from the node. Throws McException.
  void fetch();

  /// Clears the buffer, so that a view that is left half written gives nothing away.
  void clear();

  /// The buffer is good to be edited and written back.
  void start() { isStarted_ = true; }

  /// Writes the buffer back in a transaction of its own. Throws McException.
  void finish();

  /// Writes the buffer back and goes on.
  void flush();

  std::uint8_t* getBuffer() const { return rawBits_; }
  SoCpuBufferBitSet* getBufferBitSet() const { return bitSet_.get(); }

private:
  BufferHandler(Mask* mask, SoVolumeMask* volumeMask, McMutex* editMutex, const McVec3i& origin, const McVec3i& size,
                bool isConst);

  Mask* mask_;
  SoVolumeMask* volumeMask_;
  hxvoxora::Ref<SoCpuBufferBitSet> bitSet_;
  SbBox3i32 box_;
  McMutex* editMutex_;
  bool isConst_;
  bool isStarted_ = false;
  std::uint8_t* rawBits_;
};

}  // namespace hxroi::details
