#pragma once

#include <QString>
#include <cstddef>
#include <vector>

#include "quarn/formats/detail/ImageVolume.h"
#include "quarn/formats/detail/TiffFile.h"

namespace quarn::formats::detail {

/// The pages of a TIFF file as the slices of a volume, the first page at the bottom.
class TiffVolume : public ImageVolume {
public:
  /// Looks at every page.
  ///
  /// @throws McException, naming file and page, for pages that differ in size or type, for anything but plain numbers,
  ///   for a compression that is not read, and for a file that is too short.
  TiffVolume(const QString& file, const Progress& progress);

  void readVoxels(void* voxels, const Progress& progress) override;

private:
  std::size_t rowBytes() const;
  void checkPage();
  void readStrips(std::byte* page);
  void readTiles(std::byte* page);

  TiffFile tiff_;
  bool isCompressed_ = false;
  std::vector<std::byte> tile_;
};

}  // namespace quarn::formats::detail
