#include <QFileInfo>

#include "quarn/kernel/fields/HxColormap.h"
#include "quarn/kernel/fields/HxISetOfVolumeData.h"
#include "quarn/kernel/fields/HxISetOfVolumeMask.h"
#include "quarn/kernel/fields/HxSetOfVolumeDataFromHxUniformScalarField3.h"
#include "quarn/kernel/fields/HxTable.h"
#include "quarn/kernel/fields/HxUniformLabelField3.h"
#include "quarn/kernel/fields/HxVolumeData.h"
#include "quarn/kernel/io/HxFieldFile.h"
#include "quarn/kernel/io/HxFileTypes.h"
#include "quarn/kernel/network/HxNetwork.h"
#include "quarn/kernel/objects/HxCompModule.h"
#include "quarn/kernel/objects/HxEditor.h"
#include "quarn/kernel/objects/HxInterfaceFactory.h"
#include "quarn/kernel/objects/HxInterfaceFactoryRegistry.h"
#include "quarn/kernel/ports/HxConnection.h"
#include "quarn/kernel/ports/HxPortColorList.h"
#include "quarn/kernel/ports/HxPortColormap.h"
#include "quarn/kernel/ports/HxPortDoIt.h"
#include "quarn/kernel/ports/HxPortInteger.h"
#include "quarn/kernel/ports/HxPortObjects.h"
#include "quarn/kernel/ports/HxPortRadioBox.h"
#include "quarn/kernel/ports/HxPortReal.h"
#include "quarn/kernel/ports/HxPortSeparator.h"
#include "quarn/kernel/ports/HxPortText.h"

/// \file
/// Registers the classes of this library when it is loaded, so that they are known before anything else runs. Classes
/// register their parents themselves.

namespace {

int saveTable(HxData* data, const char* filename) {
  static_cast<HxTable*>(data)->saveCsv(QString::fromUtf8(filename));
  return 1;
}

int saveColormap(HxData* data, const char* filename) {
  const QString file = QString::fromUtf8(filename);
  static_cast<HxColormap*>(data)->saveText(file);
  data->setLoadCmd(QFileInfo(file).absoluteFilePath());
  data->setModified(0);
  return 1;
}

int readColormap(const QString& file, const HxLoadOptions&) {
  const McHandle<HxColormap> colormap(new HxColormap);
  colormap->loadText(file);
  colormap->setLoadCmd(QFileInfo(file).absoluteFilePath());
  colormap->setModified(0);
  HxData::registerData(colormap, file);
  return 1;
}

[[maybe_unused]] const bool registered = [] {
  HxCompModule::initClass();
  HxEditor::initClass();
  HxColormap::initClass();
  HxTable::initClass();
  HxUniformLabelField3::initClass();
  HxVolumeData::initClass();
  HxInterfaceFactory::initClass();
  HxISetOfVolumeData::initClass();
  HxISetOfVolumeMask::initClass();
  HxSetOfVolumeDataFromHxUniformScalarField3::initClass();
  HxSetOfVolumeDataFromHxUniformScalarField3Factory::initClass();
  HxInterfaceFactoryRegistry::instance().declare("HxUniformScalarField3",
                                                 "HxSetOfVolumeDataFromHxUniformScalarField3Factory");
  HxConnection::initClass();
  HxPortColorList::initClass();
  HxPortColormap::initClass();
  HxPortDoIt::initClass();
  HxPortInteger::initClass();
  HxPortRadioBox::initClass();
  HxPortReal::initClass();
  HxPortSeparator::initClass();
  HxPortObjects::initClass();
  HxPortText::initClass();
  HxFileTypes::instance().registerSaver("HxTable", "CSV", ".csv", &saveTable);
  HxFileTypes::instance().registerSaver("HxColormap", "Colormap", ".colormap", &saveColormap);
  HxFileTypes::instance().registerReader("Colormap", {".colormap"}, &readColormap);
  HxFieldFile::registerTypes();
  HxFileTypes::instance().registerNetworkLoader("Network", HxNetwork::suffix(), &HxNetwork::load);
  return true;
}();

}  // namespace
