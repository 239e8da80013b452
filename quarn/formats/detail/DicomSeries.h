#pragma once

#include <QString>
#include <vector>

#include "quarn/formats/detail/DicomSlice.h"
#include "quarn/formats/detail/ImageVolume.h"

namespace quarn::formats::detail {

/// The slices of one DICOM series, in the order in which they lie in space, as a volume.
class DicomSeries : public ImageVolume {
public:
  /// Looks at every file of a folder, not of those below. Files that are not DICOM, or hold no image, are passed over,
  /// which one console line tells.
  ///
  /// @throws McException, naming the folder, and the file where one is at fault: for a folder without images or with
  ///   those of several series, which are listed; for a file that cannot be read, also one whose name ends in ".dcm"
  ///   without being DICOM; for slices that differ in size or direction, are missing, lie twice in a place or beside
  ///   each other.
  static DicomSeries ofFolder(const QString& folder, const Progress& progress);

  /// One file as a volume of one slice.
  static DicomSeries ofFile(const QString& file);

  void readVoxels(void* voxels, const Progress& progress) override;

  DicomSeries(DicomSeries&& other) noexcept;

private:
  DicomSeries(const QString& place, std::vector<DicomSlice> slices);

  std::vector<DicomSlice> slices_;
};

}  // namespace quarn::formats::detail
