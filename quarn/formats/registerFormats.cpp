#include "quarn/formats/registerFormats.h"

#include <QFileInfo>
#include <QStringList>

#include "quarn/formats/labelTables.h"
#include "quarn/formats/readNifti.h"
#include "quarn/kernel/io/HxFileTypes.h"

namespace quarn::formats {

namespace {

int loadNifti(const QString& file, const HxLoadOptions& options) {
  const McHandle<HxUniformScalarField3> field = readNifti(file, options);
  field->setLoadCmd(QFileInfo(file).absoluteFilePath());
  field->setModified(0);
  HxData::registerData(field, options.name.isEmpty() ? QFileInfo(file).fileName() : options.name);
  return 1;
}

}  // namespace

void registerFormats() {
  static const bool isRegistered = [] {
    const QStringList suffixes = {QStringLiteral(".nii"),    QStringLiteral(".nii.gz"), QStringLiteral(".hdr"),
                                  QStringLiteral(".hdr.gz"), QStringLiteral(".img"),    QStringLiteral(".img.gz")};
    HxFileTypes::instance().registerReader(QStringLiteral("NIfTI"), suffixes, loadNifti);
    registerLabelTables();
    return true;
  }();
  static_cast<void>(isRegistered);
}

}  // namespace quarn::formats
