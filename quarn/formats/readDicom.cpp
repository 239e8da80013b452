#include "quarn/formats/readDicom.h"

#include <QDir>
#include <memory>

#include "quarn/formats/detail/DicomSeries.h"
#include "quarn/formats/detail/readField.h"

namespace quarn::formats {

using detail::DicomSeries;
using detail::ImageVolume;

McHandle<HxUniformScalarField3> readDicomFolder(const QString& folder, const HxLoadOptions& options) {
  constexpr float lookingShare = 0.3F;
  const QString path = QDir::cleanPath(folder);
  const auto open = [&path](const ImageVolume::Progress& progress) {
    return std::make_unique<DicomSeries>(DicomSeries::ofFolder(path, progress));
  };
  return detail::readField(path, options, open, lookingShare);
}

McHandle<HxUniformScalarField3> readDicomFile(const QString& file, const HxLoadOptions& options) {
  const auto open = [&file](const ImageVolume::Progress&) {
    return std::make_unique<DicomSeries>(DicomSeries::ofFile(file));
  };
  return detail::readField(file, options, open, 0.0F);
}

}  // namespace quarn::formats
