#pragma once

#include <memory>

#include "quarn/formats/detail/ImageVolume.h"
#include "quarn/formats/detail/NiftiFile.h"

namespace quarn::formats::detail {

/// One volume of a NIfTI file. The imaging toolkit makes sense of its header; its voxels are read here, as the toolkit
/// takes those of "a.nii" for "a.nii.gz" when both are there, and numbers that are not finite for 0.
class NiftiVolume : public ImageVolume {
public:
  /// Reads the description of the volume, not yet its voxels. Its geometry is that of the matrix of the header, else
  /// the one that the toolkit understands.
  ///
  /// @throws McException, naming the file, when the toolkit refuses it or the description is senseless (voxel sizes
  ///   that are not positive, numbers that are not finite).
  explicit NiftiVolume(NiftiFile image);
  ~NiftiVolume() override;

  void readVoxels(void* voxels, const Progress& progress) override;

private:
  struct Toolkit;

  void readDescription();
  void readGeometry();

  NiftiFile image_;
  std::unique_ptr<Toolkit> toolkit_;
};

}  // namespace quarn::formats::detail
