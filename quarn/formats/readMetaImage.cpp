#include "quarn/formats/readMetaImage.h"

#include <memory>

#include "quarn/formats/detail/MetaImageVolume.h"
#include "quarn/formats/detail/readField.h"

namespace quarn::formats {

McHandle<HxUniformScalarField3> readMetaImage(const QString& file, const HxLoadOptions& options) {
  constexpr float checkingShare = 0.5F;  // a large compressed file is unpacked twice
  const auto open = [&file](const detail::ImageVolume::Progress& progress) {
    return std::make_unique<detail::MetaImageVolume>(file, progress);
  };
  return detail::readField(file, options, open, checkingShare);
}

}  // namespace quarn::formats
