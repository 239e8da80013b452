#include "quarn/formats/readMetaImage.h"

#include <memory>

#include "quarn/formats/detail/MetaImageVolume.h"
#include "quarn/formats/detail/readField.h"

namespace quarn::formats {

McHandle<HxUniformScalarField3> readMetaImage(const QString& file, const HxLoadOptions& options) {
  const auto open = [&file](const detail::ImageVolume::Progress&) {
    return std::make_unique<detail::MetaImageVolume>(file);
  };
  return detail::readField(file, options, open, 0.0F);
}

}  // namespace quarn::formats
