#include "quarn/formats/readTiff.h"

#include <QDir>
#include <memory>
#include <vector>

#include "quarn/formats/detail/TiffStack.h"
#include "quarn/formats/detail/TiffVolume.h"
#include "quarn/formats/detail/readField.h"
#include "quarn/kernel/app/HxMessage.h"

namespace quarn::formats {

using detail::ImageVolume;

namespace {

/// Volumes of masks depend on it, and no page has it.
void tellSpacing(const QString& place, const ImageVolume& volume) {
  if (volume.dimensions()[2] == 1) return;
  HxMessage::printf("%s: does not tell how far its slices are from each other, which is taken for %g mm\n",
                    qUtf8Printable(place), volume.description().geometry.voxelSize[2]);
}

}  // namespace

McHandle<HxUniformScalarField3> readTiff(const QString& file, const HxLoadOptions& options) {
  const auto open = [&file](const ImageVolume::Progress& progress) {
    auto volume = std::make_unique<detail::TiffVolume>(file, progress);
    tellSpacing(file, *volume);
    return volume;
  };
  return detail::readField(file, options, open, 0.0F);
}

std::optional<McHandle<HxUniformScalarField3>> readTiffFolder(const QString& folder, const HxLoadOptions& options) {
  constexpr float lookingShare = 0.3F;
  const QString path = QDir::cleanPath(folder);
  const std::vector<QString> files = detail::TiffStack::filesIn(path);
  if (files.empty()) return std::nullopt;
  const auto open = [&](const ImageVolume::Progress& progress) {
    auto volume = std::make_unique<detail::TiffStack>(path, files, progress);
    tellSpacing(path, *volume);
    return volume;
  };
  return detail::readField(path, options, open, lookingShare);
}

}  // namespace quarn::formats
