#include "quarn/formats/readNifti.h"

#include <new>
#include <optional>

#include "quarn/formats/LabelNames.h"
#include "quarn/formats/detail/NiftiFile.h"
#include "quarn/formats/detail/NiftiVolume.h"
#include "quarn/formats/detail/ReadingProgress.h"
#include "quarn/formats/detail/fault.h"
#include "quarn/formats/detail/labelField.h"
#include "quarn/formats/detail/scalarField.h"

namespace quarn::formats {

namespace {

/// Share of the time that goes into looking whether the file is whole; the rest goes into its voxels.
constexpr float checkingShare = 0.5F;

bool wantsLabels(const QString& file, const HxLoadOptions& options, const detail::NiftiHeader& header) {
  const bool isLabelFile = options.kind.isEmpty() && header.isLabelImage;
  const bool isLabelField = options.kind == QLatin1String("label") || LabelNames::areGiven(options) || isLabelFile;
  if (!isLabelField && !options.values.empty()) {
    detail::refuse(file, QStringLiteral("is read as a scalar field, from which no label values can be chosen"));
  }
  return isLabelField;
}

void checkOptions(const QString& file, const HxLoadOptions& options) {
  const bool isScalar = options.kind == QLatin1String("scalar");
  if (!isScalar && !options.kind.isEmpty() && options.kind != QLatin1String("label")) {
    detail::refuse(file, QStringLiteral("cannot be read as ") + detail::quoted(options.kind.toStdString()) +
                             QStringLiteral("; kinds are \"scalar\" and \"label\""));
  }
  if (isScalar && LabelNames::areGiven(options)) {
    detail::refuse(file, QStringLiteral("is read as a scalar field, which has no label names or colours"));
  }
}

McHandle<HxUniformScalarField3> readField(const QString& file, const HxLoadOptions& options,
                                          const detail::ReadingProgress& progress) {
  const std::optional<LabelNames> names = LabelNames::forOptions(options);
  const detail::NiftiFile image =
      detail::NiftiFile::open(file, [&progress](float fraction) { progress.advance(checkingShare * fraction); });
  const bool isLabelField = wantsLabels(file, options, image.header);
  progress.advance(checkingShare);

  detail::NiftiVolume volume(image);
  McHandle<HxUniformScalarField3> field;
  if (isLabelField) {
    field = detail::readLabelField(volume, names ? &*names : nullptr, options, file);
  } else {
    field = detail::readScalarField(volume, file);
  }
  field->setGeometry(image.header.matrixGeometry.value_or(volume.geometry()));
  return field;
}

}  // namespace

McHandle<HxUniformScalarField3> readNifti(const QString& file, const HxLoadOptions& options) {
  const detail::ReadingProgress progress(file);
  checkOptions(file, options);
  try {
    return readField(file, options, progress);
  } catch (const std::bad_alloc&) {
    detail::refuse(file, QStringLiteral("there is not enough memory for its voxels"));
  }
}

}  // namespace quarn::formats
