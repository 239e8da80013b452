#include "quarn/formats/readNrrd.h"

#include <memory>

#include "quarn/formats/detail/NrrdVolume.h"
#include "quarn/formats/detail/readField.h"

namespace quarn::formats {

McHandle<HxUniformScalarField3> readNrrd(const QString& file, const HxLoadOptions& options) {
  constexpr float checkingShare = 0.5F;  // a large compressed file is unpacked twice
  const auto open = [&file](const detail::ImageVolume::Progress& progress) {
    return std::make_unique<detail::NrrdVolume>(file, progress);
  };
  return detail::readField(file, options, open, checkingShare);
}

}  // namespace quarn::formats
