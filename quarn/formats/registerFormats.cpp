#include "quarn/formats/registerFormats.h"

#include <QDir>
#include <QFileInfo>
#include <QStringList>
#include <array>
#include <cstring>
#include <initializer_list>

#include "quarn/formats/labelTables.h"
#include "quarn/formats/readDicom.h"
#include "quarn/formats/readMetaImage.h"
#include "quarn/formats/readNifti.h"
#include "quarn/formats/readNrrd.h"
#include "quarn/formats/readTiff.h"
#include "quarn/formats/saveImage.h"
#include "quarn/kernel/io/ByteStream.h"
#include "quarn/kernel/io/HxFileTypes.h"

namespace quarn::formats {

namespace {

using FieldReader = McHandle<HxUniformScalarField3> (*)(const QString& file, const HxLoadOptions& options);

McHandle<HxUniformScalarField3> readFolder(const QString& folder, const HxLoadOptions& options) {
  if (const auto stack = readTiffFolder(folder, options)) return *stack;
  return readDicomFolder(folder, options);
}

/// A reader that registers the field under the name of the file or folder.
HxFileReader loaderWith(FieldReader read) {
  return [read](const QString& file, const HxLoadOptions& options) {
    const McHandle<HxUniformScalarField3> field = read(file, options);
    const QString path = QDir::cleanPath(QFileInfo(file).absoluteFilePath());
    field->setLoadCmd(path);
    field->setModified(0);
    HxData::registerData(field, options.name.isEmpty() ? QFileInfo(path).fileName() : options.name);
    return 1;
  };
}

void registerReader(const char* label, std::initializer_list<const char*> suffixes, FieldReader read) {
  QStringList list;
  for (const char* suffix : suffixes) list.append(QLatin1String(suffix));
  HxFileTypes::instance().registerReader(QLatin1String(label), list, loaderWith(read));
}

/// Label fields are scalar fields, too.
void registerSaver(const char* format, const char* suffix, void (*save)(HxUniformScalarField3&, const QString&)) {
  const auto saver = [save](HxData* data, const char* file) {
    save(dynamic_cast<HxUniformScalarField3&>(*data), QString::fromUtf8(file));
    return 1;
  };
  HxFileTypes::instance().registerSaver(QStringLiteral("HxUniformScalarField3"), QLatin1String(format),
                                        QLatin1String(suffix), saver);
}

}  // namespace

namespace {

/// What a file says that it is; its name alone would also be that of a text.
QString whyMincIsNotRead(const QString& file) {
  std::array<std::byte, 4> start{};
  ByteStream(file).read(start);
  const auto begins = [&](const char* magic, std::size_t count) {
    return std::memcmp(start.data(), magic, count) == 0;
  };
  const QString kind = begins("CDF", 3)       ? QStringLiteral("is a MINC 1 image (NetCDF)")
                       : begins("\x89HDF", 4) ? QStringLiteral("is a MINC 2 image (HDF5)")
                                              : QStringLiteral("is called a MINC image, but does not begin as one");
  return kind +
         QStringLiteral("; MINC is not read: convert it to NIfTI first, with mnc2nii of the MINC tools for example");
}

}  // namespace

void registerFormats() {
  static const bool isRegistered = [] {
    registerReader("NIfTI", {".nii", ".nii.gz", ".hdr", ".hdr.gz", ".img", ".img.gz"}, readNifti);
    registerReader("NRRD", {".nrrd", ".nhdr"}, readNrrd);
    registerReader("MetaImage", {".mha", ".mhd"}, readMetaImage);
    registerReader("TIFF", {".tif", ".tiff"}, readTiff);
    registerReader("DICOM slice", {".dcm"}, readDicomFile);
    HxFileTypes::instance().registerFolderReader(QStringLiteral("DICOM series"), loaderWith(readFolder));
    for (const char* suffix : {".mnc", ".mnc.gz", ".mnc2"})
      HxFileTypes::instance().registerUnreadFiles(QLatin1String(suffix), whyMincIsNotRead);
    registerLabelTables();
    registerSaver("NIfTI", ".nii", saveNifti);
    registerSaver("NIfTI compressed", ".nii.gz", saveNifti);
    registerSaver("NRRD", ".nrrd", saveNrrd);
    registerSaver("MetaImage", ".mha", saveMetaImage);
    return true;
  }();
  static_cast<void>(isRegistered);
}

}  // namespace quarn::formats
