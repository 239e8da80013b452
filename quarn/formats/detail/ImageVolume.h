#pragma once

#include <array>
#include <cstdint>
#include <functional>

#include "quarn/formats/detail/VoxelKind.h"
#include "quarn/kernel/fields/HxGeometry3.h"

namespace quarn::formats::detail {

/// What is known of the one volume of an image before its voxels are read.
struct ImageDescription {
  std::array<std::int64_t, 3> dimensions{};  ///< voxels along x, y, z; their bytes can be counted in 63 bits
  VoxelKind kind = VoxelKind::UInt8;
  HxGeometry3 geometry;
  bool isLabelImage = false;  ///< the image itself says that its voxels are labels

  std::int64_t voxelCount() const { return dimensions[0] * dimensions[1] * dimensions[2]; }
};

/// One volume of plain numbers in one or more files, whatever their format. Whoever makes one has looked at everything
/// but the voxels, and knows that the files are long enough for these. One thread.
class ImageVolume {
public:
  /// Called with the fraction done, now and then; may throw to stop.
  using Progress = std::function<void(float fraction)>;

  virtual ~ImageVolume();
  ImageVolume(const ImageVolume&) = delete;
  ImageVolume& operator=(const ImageVolume&) = delete;

  const ImageDescription& description() const { return description_; }
  const std::array<std::int64_t, 3>& dimensions() const { return description_.dimensions; }
  VoxelKind kind() const { return description_.kind; }

  /// Writes all voxels, in the type kind() and x fastest, to `voxels`. Numbers that are not finite stay as they are.
  ///
  /// @throws McException, naming the file, when they cannot be read.
  virtual void readVoxels(void* voxels, const Progress& progress) = 0;

protected:
  ImageVolume() = default;

  ImageDescription description_;
};

}  // namespace quarn::formats::detail
