#include "hxroi/package.h"

#include <dlfcn.h>

#include "RoisTest.h"
#include "hxroi/HxRoiSelector.h"
#include "hxroi/HxRoisToHxUniformLabelField3.h"
#include "hxroi/HxUniformLabelField3ToHxRois.h"
#include "quarn/base/McType.h"
#include "quarn/kernel/packages/HxPackageManifest.h"

using ::testing::ElementsAreArray;

namespace {

/// In the order of their registration: a parent comes before its child whatever the package asks for first.
const std::vector<std::string> kRoiClasses{"HxSetOfVolumeMaskFromHxRoiSelectorFactory",
                                           "HxRoisProviderFromHxUniformLabelField3Factory",
                                           "HxRoiSelector",
                                           "HxPortRoiTreeView",
                                           "HxRoisProviderInterface",
                                           "HxRoisProviderFromHxUniformLabelField3",
                                           "HxSetOfVolumeMaskFromHxRoiSelector",
                                           "HxRoisToHxUniformLabelField3",
                                           "HxRois",
                                           "HxUniformLabelField3ToHxRois"};

std::vector<std::string> registeredRoiClasses() {
  std::vector<std::string> names;
  for (const McType& type : McType::types()) {
    if (type.getName().find("Roi") != std::string::npos) names.push_back(type.getName());
  }
  return names;
}

TEST(Package, RegistersWhenTheLibraryIsLoaded) {
  EXPECT_THAT(registeredRoiClasses(), ElementsAreArray(kRoiClasses));
}

TEST(Package, RegistersAndUnregistersOnce) {
  quarnpackage_hxroi_init();
  quarnpackage_hxroi_init();
  EXPECT_THAT(registeredRoiClasses(), ElementsAreArray(kRoiClasses));
  quarnpackage_hxroi_finish();
  quarnpackage_hxroi_finish();
  EXPECT_TRUE(registeredRoiClasses().empty());
  quarnpackage_hxroi_init();
  EXPECT_THAT(registeredRoiClasses(), ElementsAreArray(kRoiClasses));
}

TEST(Package, ObjectsAreMadeByName) {
  const McHandle<HxObject> rois = HxObject::create("HxRois");
  EXPECT_NE(dynamic_cast<HxRois*>(rois.get()), nullptr);
  const McHandle<HxObject> module = HxObject::create("HxUniformLabelField3ToHxRois");
  EXPECT_NE(dynamic_cast<HxUniformLabelField3ToHxRois*>(module.get()), nullptr);
  const McHandle<HxObject> selector = HxObject::create("HxRoiSelector");
  EXPECT_NE(dynamic_cast<HxRoiSelector*>(selector.get()), nullptr);
  const McHandle<HxObject> back = HxObject::create("HxRoisToHxUniformLabelField3");
  EXPECT_NE(dynamic_cast<HxRoisToHxUniformLabelField3*>(back.get()), nullptr);
}

TEST(Package, ManifestNamesWhatTheLibraryHas) {
  const auto manifest = HxPackageManifest::fromFile(QUARN_BINARY_DIR "/packages/hxroi.json");
  EXPECT_EQ(manifest.name, "hxroi");
  EXPECT_EQ(manifest.abi, quarn::packageAbi());
  const QStringList classes{"HxSetOfVolumeMaskFromHxRoiSelectorFactory",
                            "HxRoisProviderFromHxUniformLabelField3Factory",
                            "HxRoiSelector",
                            "HxPortRoiTreeView",
                            "HxRoisProviderFromHxUniformLabelField3",
                            "HxSetOfVolumeMaskFromHxRoiSelector",
                            "HxRoisProviderInterface",
                            "HxRoisToHxUniformLabelField3",
                            "HxRois",
                            "HxUniformLabelField3ToHxRois"};
  EXPECT_EQ(manifest.classes, classes);
  ASSERT_EQ(manifest.interfaceFactories.size(), 2U);
  EXPECT_EQ(manifest.interfaceFactories[0].className, "HxUniformLabelField3");
  EXPECT_EQ(manifest.interfaceFactories[0].factory, "HxRoisProviderFromHxUniformLabelField3Factory");
  EXPECT_EQ(manifest.interfaceFactories[1].className, "HxRoiSelector");
  EXPECT_EQ(manifest.interfaceFactories[1].factory, "HxSetOfVolumeMaskFromHxRoiSelectorFactory");
  ASSERT_EQ(manifest.fileTypes.size(), 1U);
  const auto& type = manifest.fileTypes[0];
  EXPECT_EQ(type.contentType, "HxRois");
  EXPECT_EQ(type.suffix, ".ROIs.qm");
  std::vector<QString> symbols{"quarnpackage_hxroi_init", "quarnpackage_hxroi_finish", type.read};
  for (const auto& format : type.save) symbols.push_back(format.function);
  EXPECT_EQ(symbols.size(), 6U);
  for (const QString& symbol : symbols) {
    EXPECT_NE(dlsym(RTLD_DEFAULT, symbol.toLatin1().constData()), nullptr) << symbol.toStdString();
  }
}

}  // namespace
