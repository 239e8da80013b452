#include "quarn/formats/detail/readField.h"

#include <new>
#include <optional>

#include "quarn/formats/LabelNames.h"
#include "quarn/formats/detail/ImageProgress.h"
#include "quarn/formats/detail/fault.h"
#include "quarn/formats/detail/labelField.h"
#include "quarn/formats/detail/scalarField.h"

namespace quarn::formats::detail {

namespace {

bool wantsLabels(const QString& file, const HxLoadOptions& options, bool isLabelImage) {
  const bool isLabelFile = options.kind.isEmpty() && isLabelImage;
  const bool choosesLabels = options.kind.isEmpty() && !options.values.empty();
  const bool isLabelField =
      options.kind == QLatin1String("label") || LabelNames::areGiven(options) || isLabelFile || choosesLabels;
  if (!isLabelField && !options.values.empty()) {
    refuse(file, QStringLiteral("is read as a scalar field, from which no label values can be chosen"));
  }
  return isLabelField;
}

void checkOptions(const QString& file, const HxLoadOptions& options) {
  const bool isScalar = options.kind == QLatin1String("scalar");
  if (!isScalar && !options.kind.isEmpty() && options.kind != QLatin1String("label")) {
    refuse(file, QStringLiteral("cannot be read as ") + quoted(options.kind.toStdString()) +
                     QStringLiteral("; kinds are \"scalar\" and \"label\""));
  }
  if (isScalar && LabelNames::areGiven(options)) {
    refuse(file, QStringLiteral("is read as a scalar field, which has no label names or colours"));
  }
}

McHandle<HxUniformScalarField3> makeField(const QString& file, const HxLoadOptions& options, const VolumeOpener& open,
                                          const ImageProgress& progress, float openingShare) {
  const std::optional<LabelNames> names = LabelNames::forOptions(options);
  const std::unique_ptr<ImageVolume> volume = open([&](float fraction) { progress.advance(openingShare * fraction); });
  const bool isLabelField = wantsLabels(file, options, volume->description().isLabelImage);
  progress.advance(openingShare);

  const auto readingProgress = [&](float fraction) {
    progress.advance(openingShare + (1.0F - openingShare) * fraction);
  };
  McHandle<HxUniformScalarField3> field;
  if (isLabelField) {
    field = readLabelField(*volume, names ? &*names : nullptr, options, file, readingProgress);
  } else {
    field = readScalarField(*volume, file, readingProgress);
  }
  field->setGeometry(volume->description().geometry);
  return field;
}

}  // namespace

McHandle<HxUniformScalarField3> readField(const QString& file, const HxLoadOptions& options, const VolumeOpener& open,
                                          float openingShare) {
  const ImageProgress progress(ImageProgress::Task::Reading, file);
  checkOptions(file, options);
  try {
    return makeField(file, options, open, progress, openingShare);
  } catch (const std::bad_alloc&) {
    refuse(file, QStringLiteral("there is not enough memory for its voxels"));
  }
}

}  // namespace quarn::formats::detail
