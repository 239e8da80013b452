#include "quarn/formats/readNifti.h"

#include <memory>

#include "quarn/formats/detail/NiftiFile.h"
#include "quarn/formats/detail/NiftiVolume.h"
#include "quarn/formats/detail/readField.h"

namespace quarn::formats {

McHandle<HxUniformScalarField3> readNifti(const QString& file, const HxLoadOptions& options) {
  constexpr float checkingShare = 0.5F;  // a compressed file is unpacked twice
  const auto open = [&file](const detail::ImageVolume::Progress& progress) {
    return std::make_unique<detail::NiftiVolume>(detail::NiftiFile::open(file, progress));
  };
  return detail::readField(file, options, open, checkingShare);
}

}  // namespace quarn::formats
