#pragma once

#include <QString>
#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "quarn/formats/detail/NiftiFields.h"
#include "quarn/formats/detail/VoxelKind.h"
#include "quarn/kernel/fields/HxGeometry3.h"

namespace quarn::formats::detail {

/// What a NIfTI-1 header says about the one volume that it describes, checked before a byte of the volume is read.
struct NiftiHeader {
  static constexpr std::size_t size = NiftiFields::size;

  std::array<std::int64_t, 3> dimensions{};  ///< voxels along x, y, z; each from 1 to 32767
  VoxelKind kind = VoxelKind::UInt8;         ///< the type in the file, before any scaling
  std::int64_t dataOffset = 0;               ///< of the first voxel, in bytes, in the uncompressed data file
  bool isByteSwapped = false;                ///< the file has the other byte order than this machine
  bool hasOwnDataFile = false;               ///< voxels stand in the ".img" file beside the ".hdr" file
  bool isLabelImage = false;                 ///< the intent of the file is "label"

  double slope = 1.0;      ///< voxels are to be multiplied with it
  double intercept = 0.0;  ///< what is then added to them

  HxGeometry3 geometry;

  std::int64_t voxelCount() const { return dimensions[0] * dimensions[1] * dimensions[2]; }
  std::int64_t dataBytes() const { return voxelCount() * static_cast<std::int64_t>(bytesOf(kind)); }
  bool isScaled() const { return slope != 1.0 || intercept != 0.0; }

  /// Reads a header in either byte order.
  ///
  /// @throws McException, naming `file`, for anything but a NIfTI-1 header of one volume of plain numbers. The text
  ///   says what the file holds instead: colours, complex numbers, vectors, a series of volumes.
  static NiftiHeader parse(std::span<const std::byte, size> bytes, const QString& file);
};

}  // namespace quarn::formats::detail
