#pragma once

#include "quarn/voxora/export.h"
#include "quarn/voxora/nodes/SoDataSet.h"

/// A data set of voxels.
class QUARN_VOXORA_API SoVolumeData : public SoDataSet {
public:
  /// Bits of one voxel.
  virtual int bitsPerVoxel() const = 0;

protected:
  SoVolumeData();
  ~SoVolumeData() override;
};
