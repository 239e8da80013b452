#pragma once

#include <array>
#include <cstdint>
#include <memory>

#include "quarn/formats/detail/NiftiFile.h"
#include "quarn/formats/detail/VoxelKind.h"
#include "quarn/kernel/fields/HxGeometry3.h"

namespace quarn::formats::detail {

/// One volume of a NIfTI file, read by the imaging toolkit. One thread.
///
/// Warnings of the toolkit go to the console with the name of the file, never to standard error.
class NiftiVolume {
public:
  /// Reads the description of the volume, not yet its voxels.
  ///
  /// @throws McException, naming the file, when the toolkit refuses it or the description is senseless (voxel sizes
  ///   that are not positive, numbers that are not finite).
  explicit NiftiVolume(NiftiFile image);
  ~NiftiVolume();

  const std::array<std::int64_t, 3>& dimensions() const { return image_.header.dimensions; }
  VoxelKind kind() const { return kind_; }
  /// The geometry as the toolkit understands the header.
  const HxGeometry3& geometry() const { return geometry_; }

  /// Writes all voxels, in the type kind() and x fastest, to `voxels`. Numbers that are not finite stay as they are.
  ///
  /// @throws McException, naming the file, when the toolkit cannot read them.
  void readVoxels(void* voxels);

private:
  struct Toolkit;

  void readDescription();
  void readGeometry();

  NiftiFile image_;
  VoxelKind kind_ = VoxelKind::UInt8;
  HxGeometry3 geometry_;
  std::unique_ptr<Toolkit> toolkit_;
};

}  // namespace quarn::formats::detail
