#pragma once

#include <QString>
#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "quarn/formats/detail/ImageVolume.h"
#include "quarn/formats/detail/VoxelKind.h"

namespace quarn::formats::detail {

/// One slice of a DICOM series: a file with one image of plain numbers. Millimetres, x to the left, y to the back, z
/// up.
struct DicomSlice {
  QString file;
  std::int64_t fileBytes = 0;
  std::string series;       ///< unique identifier
  std::string description;  ///< of the series

  std::int64_t columns = 0, rows = 0;
  int bitsAllocated = 0, bitsStored = 0;
  bool isSigned = false;
  double slope = 1, intercept = 0;
  std::uint64_t pixelOffset = 0;

  std::optional<std::array<double, 3>> position;     ///< of the centre of the first pixel
  std::optional<std::array<double, 6>> orientation;  ///< directions in which columns, then rows, are counted
  std::array<double, 2> pixelSize{1, 1};             ///< along the first, then the second of these directions
  bool hasPixelSize = false;
  double thickness = 1;

  /// Reads the description of a slice, not its pixels; nothing for a file that is not DICOM or holds no image.
  ///
  /// @throws McException, naming `file` and the element, for an image that is anything but one slice of plain numbers,
  ///   and for one that is cut.
  static std::optional<DicomSlice> read(const QString& file);

  std::int64_t pixelBytes() const { return columns * rows * bitsAllocated / 8; }
  bool isScaled() const { return slope != 1.0 || intercept != 0.0; }

  /// Reads the pixels as numbers of a kind, scaled, to `out`, which has room for all of them; some MiB at a time.
  ///
  /// @throws McException, naming the file, when it cannot be read.
  void readPixels(VoxelKind kind, void* out, const ImageVolume::Progress& progress) const;
};

/// The kind of voxels that holds all values that the slices can have: that of the files when they are not scaled, the
/// smallest type of integers when scales and offsets are whole numbers, else float.
VoxelKind commonKind(const std::vector<DicomSlice>& slices);

}  // namespace quarn::formats::detail
