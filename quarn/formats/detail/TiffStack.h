#pragma once

#include <QString>
#include <vector>

#include "quarn/formats/detail/ImageVolume.h"

namespace quarn::formats::detail {

/// The TIFF files of a folder as one volume: the pages of the first file at the bottom, files in the natural order of
/// their names. One file at a time is open.
class TiffStack : public ImageVolume {
public:
  /// Looks at every page of every file.
  ///
  /// @throws McException as TiffVolume does, and for a file whose pages have another size or type than those of the
  ///   first one, naming both.
  TiffStack(const QString& folder, std::vector<QString> files, const Progress& progress);

  void readVoxels(void* voxels, const Progress& progress) override;

  /// The TIFF files of a folder; none when it holds a DICOM image, too.
  static std::vector<QString> filesIn(const QString& folder);

private:
  std::vector<QString> files_;
  std::vector<std::int64_t> pages_;  ///< of each file
};

}  // namespace quarn::formats::detail
