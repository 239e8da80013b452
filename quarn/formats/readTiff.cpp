#include "quarn/formats/readTiff.h"

#include <memory>

#include "quarn/formats/detail/TiffVolume.h"
#include "quarn/formats/detail/readField.h"

namespace quarn::formats {

McHandle<HxUniformScalarField3> readTiff(const QString& file, const HxLoadOptions& options) {
  const auto open = [&file](const detail::ImageVolume::Progress& progress) {
    return std::make_unique<detail::TiffVolume>(file, progress);
  };
  return detail::readField(file, options, open, 0.0F);
}

}  // namespace quarn::formats
