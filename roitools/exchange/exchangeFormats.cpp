#include "roitools/exchange/exchangeFormats.h"

#include <QFileInfo>

#include "hxroi/HxRois.h"
#include "quarn/base/McException.h"
#include "quarn/base/McHandle.h"
#include "quarn/kernel/app/HxMessage.h"
#include "quarn/kernel/fields/HxUniformScalarField3.h"
#include "quarn/kernel/io/HxFileTypes.h"
#include "roitools/exchange/ExchangedSet.h"
#include "roitools/exchange/LayeredImage.h"
#include "roitools/exchange/MaskTable.h"
#include "roitools/exchange/NewFolder.h"
#include "roitools/exchange/maskFolder.h"
#include "roitools/exchange/placeOfSet.h"
#include "roitools/exchange/readSegmentation.h"
#include "roitools/exchange/saveSegmentation.h"

namespace roitools {

namespace {

constinit bool isRegistered = false;

const QString segmentationLabel = QStringLiteral("Segmentation NRRD");
const QString folderLabel = QStringLiteral("Folder of masks");
const QString niftiMasks = QStringLiteral("NIfTI masks"), nrrdMasks = QStringLiteral("NRRD masks");
/// A name that ends so is one of a folder.
const QString folderSuffix = QStringLiteral("/");
const QString setClass = QStringLiteral("HxRois");

/// What users call the file, without folder and ending.
QString stemOf(const QString& file, const QString& suffix) {
  QString name = QFileInfo(file).fileName();
  if (name.endsWith(suffix, Qt::CaseInsensitive)) name.chop(suffix.size());
  return name;
}

void registerSet(const ReadSet& read, const QString& name, const QString& file, const HxLoadOptions& options) {
  HxRois& rois = *read.rois;
  rois.rebuildPortList();
  HxData::registerData(&rois, name);
  connectToPlace(read, name, file);
  rois.setLoadCmd(QFileInfo(file).absoluteFilePath());
  rois.setLoadOptions(options);
  rois.setModified(0);
  if (!read.leftOut.isEmpty()) HxMessage::error(read.leftOut);
}

int loadSegmentation(const QString& file, const HxLoadOptions& options) {
  const QString name = options.name.isEmpty() ? stemOf(file, segmentationSuffix()) : options.name;
  if (!options.labels.isEmpty() || !options.colors.isEmpty() || options.kind == QLatin1String("label"))
    throw McException(McException::excerpt(file.toStdString()) +
                      ": of the options only -as, -values, and -kind scalar for its grid alone, are for segmentations");
  if (options.kind == QLatin1String("scalar")) {
    const LayeredImage image(file);
    const McHandle<HxUniformScalarField3> grid = makeGridField(image.grid(), image.geometry(), file);
    HxData::registerData(grid, name);
    return 1;
  }
  registerSet(readSegmentation(file, options), name, file, options);
  return 1;
}

int storeSegmentation(HxData* data, const char* filename) {
  const McHandle<HxRois> rois(dynamic_cast<HxRois*>(data));
  if (!rois) return 0;
  saveSegmentation(*rois, QString::fromUtf8(filename));
  return 1;
}

int loadMaskFolder(const QString& file, const HxLoadOptions& options) {
  const QString name = options.name.isEmpty() ? stemOf(file, MaskTable::suffix()) : options.name;
  if (!options.labels.isEmpty() || !options.colors.isEmpty() || !options.values.empty() ||
      options.kind == QLatin1String("label"))
    throw McException(McException::excerpt(file.toStdString()) +
                      ": of the options only -as, and -kind scalar for its grid alone, are for folders of masks");
  if (options.kind == QLatin1String("scalar")) {
    const ReadSet read = readGridOfMaskFolder(file);
    HxData::registerData(makeGridField(read.grid, read.geometry, file), name);
    return 1;
  }
  NewFolder::removeAbandoned(QFileInfo(file).absolutePath());
  registerSet(readMaskFolder(file), name, file, options);
  return 1;
}

int storeMasks(HxData* data, const char* filename, const char* suffix) {
  const McHandle<HxRois> rois(dynamic_cast<HxRois*>(data));
  if (!rois) return 0;
  const QString folder = QString::fromUtf8(filename);
  saveMaskFolder(*rois, folder, QString::fromLatin1(suffix));
  tellWhatIsNotExchanged(*rois, folder, false);
  return 1;
}

int storeNiftiMasks(HxData* data, const char* filename) {
  return storeMasks(data, filename, ".nii.gz");
}

int storeNrrdMasks(HxData* data, const char* filename) {
  return storeMasks(data, filename, ".nrrd");
}

}  // namespace

void registerExchangeFormats() {
  if (isRegistered) return;
  isRegistered = true;
  HxFileTypes& types = HxFileTypes::instance();
  types.registerReader(segmentationLabel, {segmentationSuffix(), QStringLiteral(".seg.nhdr")}, &loadSegmentation);
  types.registerSaver(setClass, segmentationLabel, segmentationSuffix(), &storeSegmentation);
  types.registerReader(folderLabel, {MaskTable::suffix()}, &loadMaskFolder);
  types.registerFolderIndex(MaskTable::suffix());
  types.registerSaver(setClass, niftiMasks, folderSuffix, &storeNiftiMasks);
  types.registerSaver(setClass, nrrdMasks, folderSuffix, &storeNrrdMasks);
}

void unregisterExchangeFormats() {
  if (!isRegistered) return;
  isRegistered = false;
  HxFileTypes& types = HxFileTypes::instance();
  for (const QString& format : {segmentationLabel, niftiMasks, nrrdMasks}) types.unregisterSaver(setClass, format);
  for (const QString& label : {segmentationLabel, folderLabel}) types.unregisterReader(label);
}

}  // namespace roitools
