#include "quarn/formats/saveImage.h"

#include <QFileInfo>
#include <string>

#include "quarn/formats/detail/fault.h"
#include "quarn/formats/detail/saveField.h"
#include "quarn/formats/detail/savedHeaders.h"
#include "quarn/kernel/fields/HxUniformLabelField3.h"

namespace quarn::formats {

namespace {

bool endsIn(const QString& file, const char* suffix) {
  return file.endsWith(QLatin1String(suffix), Qt::CaseInsensitive);
}

bool isLabelField(const HxUniformScalarField3& field) {
  return dynamic_cast<const HxUniformLabelField3*>(&field) != nullptr;
}

}  // namespace

void saveNifti(HxUniformScalarField3& field, const QString& file) {
  const bool isCompressed = endsIn(file, ".nii.gz");
  if (!isCompressed && !endsIn(file, ".nii"))
    detail::refuse(file, QStringLiteral("the name must end in \".nii\" or \".nii.gz\""));
  const auto header = [&] {
    std::string text = detail::niftiHeader(field, file);
    return isCompressed ? detail::ImageHeader{.packed = text} : detail::ImageHeader{.plain = text};
  };
  detail::saveField(field, file, header, isCompressed, HxLoadOptions());
}

void saveNrrd(HxUniformScalarField3& field, const QString& file) {
  if (!endsIn(file, ".nrrd")) detail::refuse(file, QStringLiteral("the name must end in \".nrrd\""));
  const bool isCompressed = isLabelField(field);
  const auto header = [&] { return detail::ImageHeader{.plain = detail::nrrdHeader(field, isCompressed, file)}; };
  detail::saveField(field, file, header, isCompressed, HxLoadOptions());
}

void saveMetaImage(HxUniformScalarField3& field, const QString& file) {
  if (!endsIn(file, ".mha")) detail::refuse(file, QStringLiteral("the name must end in \".mha\""));
  const auto header = [&] { return detail::ImageHeader{.plain = detail::metaImageHeader(field)}; };
  detail::saveField(field, file, header, false, HxLoadOptions());
}

}  // namespace quarn::formats
