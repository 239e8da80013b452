#pragma once

#include "quarn/formats/detail/ImageVolume.h"
#include "quarn/formats/detail/NiftiFile.h"

namespace quarn::formats::detail {

/// One volume of a NIfTI file.
class NiftiVolume : public ImageVolume {
public:
  explicit NiftiVolume(NiftiFile image);

  void readVoxels(void* voxels, const Progress& progress) override;

private:
  NiftiFile image_;
};

}  // namespace quarn::formats::detail
