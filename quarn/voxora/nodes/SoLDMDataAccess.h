#pragma once

#include "quarn/voxora/export.h"
#include "quarn/voxora/nodes/SbTypes.h"

class SoCpuBufferObject;
class SoDataSet;

/// Reads boxes of a data set. It belongs to its data set and holds no reference to it.
class QUARN_VOXORA_API SoLDMDataAccess {
public:
  explicit SoLDMDataAccess(const SoDataSet& dataSet) : dataSet_(dataSet) {}
  SoLDMDataAccess(const SoLDMDataAccess&) = delete;
  SoLDMDataAccess& operator=(const SoLDMDataAccess&) = delete;

  /// Fills `buffer` with the voxels of a box, at once: finished transactions show, voxels that were never written have
  /// the default value. Level 0 is the volume, each further one has half the voxels of the one before along each axis,
  /// rounded up; the box counts voxels of the level. Bits of a mask lie as SoCpuBufferBitSet describes. An empty box
  /// leaves the buffer alone.
  ///
  /// Safe from several threads at once, also while another thread edits the data set; the box is then as it was before
  /// or after the whole transaction. Throws McException when there is no such resolution level, when the box reaches
  /// outside it, when the buffer is too small, and when a tile cannot be read.
  void getData(int resolutionLevel, const SbBox3i32& box, SoCpuBufferObject* buffer) const;

private:
  const SoDataSet& dataSet_;
};
