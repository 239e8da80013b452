#pragma once

#include <QString>
#include <cstddef>
#include <functional>
#include <string>
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
  ///   for a compression that is not read, for several channels or times, and for a file that is too short.
  TiffVolume(const QString& file, const Progress& progress);

  void readVoxels(void* voxels, const Progress& progress) override;

private:
  std::size_t rowBytes() const;
  void checkPage();
  /// Called with the bytes of a page that are there.
  using PageProgress = std::function<void(std::size_t done)>;
  /// Goes through the rows or tiles of the current page, and puts them to `page` unless it is null.
  void readPage(std::byte* page, const PageProgress& progress);
  void readStrips(std::byte* page, const PageProgress& progress);
  void readTiles(std::byte* page, const PageProgress& progress);
  /// Goes through all pages, and puts them to `voxels` unless it is null.
  void readPages(std::byte* voxels, const Progress& progress);
  void turnPage(std::byte* page) const;
  void requireOneSeries();

  TiffFile tiff_;
  bool isCompressed_ = false;
  std::string imageText_;        ///< what the first page tells about the whole
  std::vector<std::byte> tile_;  ///< or a row that goes nowhere
};

}  // namespace quarn::formats::detail
