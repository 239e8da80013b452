#include <QFile>

#include "SetFileTest.h"
#include "hxroi/HxRoiSelector.h"
#include "hxroi/HxRoisToHxUniformLabelField3.h"
#include "hxroi/HxUniformLabelField3ToHxRois.h"
#include "hxroi/package.h"
#include "quarn/kernel/fields/HxColormap.h"
#include "quarn/kernel/fields/HxStandardColormaps.h"
#include "quarn/kernel/io/HxFileTypes.h"
#include "quarn/kernel/network/HxNetwork.h"
#include "quarn/kernel/objects/HxInterfaceFactoryRegistry.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/kernel/script/HxInterpreter.h"

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::StartsWith;

namespace {

/// Brings a label field of the grid of the tests in under a name, as from a file.
int readField(const QString& file, const HxLoadOptions& options) {
  const McHandle<HxUniformLabelField3> field(new HxUniformLabelField3(McDim3l(13, 11, 7)));
  field->lattice().getLabels()[5] = 1;
  field->lattice().getLabels()[6] = 2;
  field->setLoadCmd(file);
  HxData::registerData(field, options.name);
  return 1;
}

class RoisNetwork : public SetFileTest {
protected:
  RoisNetwork() {
    HxFileTypes& types = HxFileTypes::instance();
    types.registerReader("Test field", {".testfield"}, &readField);
    types.registerQuarnMeshReader("HxRois", ".ROIs.qm", &HxRois::readQuarnMesh_s);
    QFile field(fileName("a.testfield"));
    EXPECT_TRUE(field.open(QIODevice::WriteOnly));
    HxLoadOptions options;
    options.name = "brain";
    types.load(fileName("a.testfield"), options);
  }
  ~RoisNetwork() override {
    HxObjectPool::instance().clear();
    HxFileTypes::instance().unregisterReader("Test field");
    HxFileTypes::instance().unregisterQuarnMeshReader("HxRois");
  }

  QString fileName(const char* name) const { return QString::fromStdString((folder / name).string()); }

  static std::string evaluate(const QString& script) {
    HxInterpreter& interpreter = HxInterpreter::instance();
    if (const auto error = interpreter.evaluate(script)) return "error: " + error->message.toStdString();
    return interpreter.result().toStdString();
  }

  static HxRois* findSet(const char* name) { return dynamic_cast<HxRois*>(HxObjectPool::instance().find(name)); }

  /// A module, "convert", that has made "brain-rois" of the labels of the field.
  void addConverted() {
    const McHandle<HxUniformLabelField3ToHxRois> module(new HxUniformLabelField3ToHxRois);
    HxObjectPool::instance().add(module, "convert");
    EXPECT_EQ(evaluate("convert data connect brain; convert doIt hit; convert fire; convert getResult"), "brain-rois");
  }

  static std::vector<std::string> visibleOf(const char* selector) {
    std::vector<std::string> names;
    for (const Mask* mask : dynamic_cast<HxRoiSelector&>(*HxObjectPool::instance().find(selector)).getVisibleMasks())
      names.push_back(mask->name());
    return names;
  }

  /// Saves the network, loads it into the empty workbench, and saves it once more.
  void saveLoadAndSave() {
    HxNetwork::save(fileName("a.quarn"));
    const std::string text = network();
    HxObjectPool::instance().clear();
    HxNetwork::load(fileName("a.quarn"));
    HxNetwork::save(fileName("a.quarn"));
    EXPECT_EQ(network(), text);
  }

  /// A set with ROIs in its file, connected to the field, in the pool.
  void addSavedSet() {
    fillSet();
    // The file of a set keeps no colours of members.
    rois->getGroup("G")->setColor(rois->getMask("B")->color(false));
    HxObjectPool::instance().add(rois, "rois");
    EXPECT_EQ(evaluate("rois data connect brain; rois fire"), "");
    EXPECT_EQ(save(), 1);
  }

  std::string network() const {
    QFile written(fileName("a.quarn"));
    EXPECT_TRUE(written.open(QIODevice::ReadOnly));
    return written.readAll().toStdString();
  }
};

TEST_F(RoisNetwork, BringsASetBackAsItWasShown) {
  addSavedSet();
  EXPECT_EQ(
      evaluate("rois overlappingRenderingStyle setValue volume; rois overlappingBoundaryColor setColor 0 0.5 1;"
               "rois overlappingVoltexColormap setMinMax -2 3; rois overlappingVoltexColormap connect turbo;"
               "rois colormap-A connect viridis; rois colormap-A setMinMax 5 6; rois colormap-C setAlphaEnabled 0;"
               "rois fire"),
      "");
  EXPECT_FALSE(rois->isModified());
  HxNetwork::save(fileName("a.quarn"));
  HxObjectPool::instance().clear();

  EXPECT_THAT(HxNetwork::load(fileName("a.quarn")), ElementsAre("brain", "rois"));
  HxRois* set = findSet("rois");
  ASSERT_NE(set, nullptr);
  EXPECT_THAT(names(*set), ElementsAre("A", "G", "D"));
  EXPECT_EQ(count(*set->getMask("A")), 125U);
  EXPECT_EQ(set->portData.source(), HxObjectPool::instance().find("brain"));
  EXPECT_EQ(set->portOverlappingRenderingStyle.getValue(), HxRois::kVolumeStyle);
  EXPECT_TRUE(set->portOverlappingVoltexColormap.isVisible());
  EXPECT_EQ(set->portOverlappingBoundaryColor.getColor(), McColor(0, 0.5F, 1));
  EXPECT_EQ(set->portOverlappingVoltexColormap.localMin(), -2);
  EXPECT_EQ(set->portOverlappingVoltexColormap.colormap(), HxStandardColormaps::instance().find("turbo"));
  EXPECT_EQ(set->getMask("A")->colormap(false), HxStandardColormaps::instance().find("viridis"));
  EXPECT_EQ(set->getMask("A")->colormapRange(false), std::pair(5.0F, 6.0F));
  EXPECT_FALSE(set->getMask("C")->isAlphaEnabled());
  EXPECT_TRUE(set->getMask("D")->isAlphaEnabled());
  EXPECT_FALSE(set->isModified());
  EXPECT_THAT(console.errors, IsEmpty());
}

TEST_F(RoisNetwork, BringsBackAFieldThatIsSavedBesideItsSet) {
  auto* brain = dynamic_cast<HxUniformLabelField3*>(HxObjectPool::instance().find("brain"));
  ASSERT_NE(brain, nullptr);
  const HxGeometry3 oblique{{-1.0 / 3, 2, 1e-7}, {0.7, 0.9, 1.1}, {0.8, -0.6, 0, 0.6, 0.8, 0, 0, 0, 1}};
  brain->setGeometry(oblique);
  brain->materials()->getBundle("Exterior");
  brain->materials()->getBundle("Bone")->setMaterialColor(McColor(1, 0.1F, 0));
  EXPECT_EQ(evaluate("brain save {" + fileName("brain.field.qm") + "}"), "");
  addSavedSet();
  HxNetwork::save(fileName("a.quarn"));
  EXPECT_THAT(network(), HasSubstr("load brain.field.qm -as brain\n"));
  HxObjectPool::instance().clear();

  EXPECT_THAT(HxNetwork::load(fileName("a.quarn")), ElementsAre("brain", "rois"));
  auto* again = dynamic_cast<HxUniformLabelField3*>(HxObjectPool::instance().find("brain"));
  ASSERT_NE(again, nullptr);
  EXPECT_EQ(again->latticeDimensions(), McDim3l(13, 11, 7));
  EXPECT_EQ(again->lattice().getLabels()[5], 1);
  EXPECT_EQ(again->lattice().getLabels()[6], 2);
  EXPECT_EQ(again->geometry(), oblique);
  McColor color;
  ASSERT_EQ(again->materials()->bundleCount(), 2);
  ASSERT_TRUE(again->materials()->getBundle(1)->getMaterialColor(color));
  EXPECT_EQ(color, McColor(1, 0.1F, 0));
  EXPECT_FALSE(again->isModified());
  HxRois* set = findSet("rois");
  ASSERT_NE(set, nullptr);
  EXPECT_EQ(set->portData.source(), again);
  EXPECT_EQ(count(*set->getMask("A")), 125U);
}

TEST_F(RoisNetwork, HasPortsOfRoisBeforeTheirStates) {
  addSavedSet();
  HxNetwork::save(fileName("a.quarn"));
  EXPECT_THAT(network(),
              HasSubstr("load set.ROIs.qm -as rois\n\"rois\" fire\nrois setLabel atlas\nrois data connect brain\n"));
  EXPECT_THAT(network(), HasSubstr("rois color-A setState {0.5 0.25 1}\n"));
}

TEST_F(RoisNetwork, ColoursOfRoisAreThoseOfTheNetwork) {
  addSavedSet();
  EXPECT_EQ(evaluate("rois color-A setColor 0 1 0; rois fire"), "");
  EXPECT_THAT(evaluate("saveNetwork {" + fileName("a.quarn") + "}"), HasSubstr("rois: changes since it was saved as"));
  EXPECT_EQ(evaluate("saveNetwork -force {" + fileName("a.quarn") + "}; clear -force"), "");
  HxNetwork::load(fileName("a.quarn"));
  EXPECT_EQ(findSet("rois")->getMask("A")->color(), McColor(0, 1, 0));
}

TEST_F(RoisNetwork, NamesTheFileOfASetThatIsMissing) {
  addSavedSet();
  HxNetwork::save(fileName("a.quarn"));
  HxObjectPool::instance().clear();
  fs::remove(file);
  const std::string failure = refusalOf([&] { HxNetwork::load(fileName("a.quarn")); });
  EXPECT_THAT(failure, HasSubstr(file.string() + ": cannot be opened: No such file"));
  EXPECT_THAT(failure, HasSubstr("came back: brain\n"));
  EXPECT_THAT(failure, HasSubstr("rois did not come back; "));
  EXPECT_EQ(evaluate("objects"), "brain");
}

TEST_F(RoisNetwork, NamesTheMaskThatIsMissing) {
  addSavedSet();
  HxNetwork::save(fileName("a.quarn"));
  HxObjectPool::instance().clear();
  fs::remove(masks / "A.ldm");
  const std::string failure = refusalOf([&] { HxNetwork::load(fileName("a.quarn")); });
  EXPECT_THAT(failure, HasSubstr("A.ldm"));
  EXPECT_EQ(evaluate("objects"), "brain");
}

TEST_F(RoisNetwork, TellsWhyAConnectionIsRefused) {
  addSavedSet();
  HxNetwork::save(fileName("a.quarn"));
  HxObjectPool::instance().clear();
  QFile script(fileName("a.quarn"));
  ASSERT_TRUE(script.open(QIODevice::ReadOnly));
  QByteArray text = script.readAll();
  text.replace("load a.testfield -as brain", "create HxUniformLabelField3 brain");
  script.close();
  ASSERT_TRUE(script.open(QIODevice::WriteOnly));
  script.write(text);
  script.close();
  const std::string failure = refusalOf([&] { HxNetwork::load(fileName("a.quarn")); });
  EXPECT_THAT(failure, HasSubstr("\"brain\" cannot be connected to port \"data\" of \"atlas\": "));
  EXPECT_THAT(failure, HasSubstr("came back: brain, rois\n"));
  EXPECT_EQ(console.errors.size(), 1U);
}

TEST_F(RoisNetwork, ConvertsLabelsAgain) {
  addConverted();
  HxNetwork::save(fileName("a.quarn"));
  EXPECT_THAT(network(), HasSubstr("nameResult brain-rois {\"convert\" doIt hit; \"convert\" compute; "
                                   "\"convert\" getResult}\n\"brain-rois\" fire\n"));
  HxObjectPool::instance().clear();
  EXPECT_THAT(HxNetwork::load(fileName("a.quarn")), ElementsAre("brain", "convert", "brain-rois"));
  EXPECT_EQ(findSet("brain-rois")->getNumberOfMasks(), 2U);

  EXPECT_EQ(evaluate("brain-rois color-Undescribed-label-1 setColor 0 1 0; brain-rois fire"), "");
  EXPECT_THAT(refusalOf([&] { HxNetwork::save(fileName("a.quarn")); }),
              HasSubstr("brain-rois: changes since convert made it"));
}

TEST_F(RoisNetwork, IsSavedAtOnceAfterItWasLoaded) {
  addConverted();
  // Members of groups have colours of their own, which the file of the set does not keep.
  fillSet();
  HxObjectPool::instance().add(rois, "rois");
  EXPECT_EQ(save(), 1);
  EXPECT_EQ(evaluate("create HxRois empty; create HxUniformLabelField3 field; rois data connect brain; rois fire;"
                     "rois colormap-A connect viridis; rois colormap-A setMinMax 5 6; rois fire"),
            "");
  saveLoadAndSave();
  saveLoadAndSave();
  EXPECT_FALSE(findSet("rois")->isModified());
  EXPECT_EQ(findSet("brain-rois")->getNumberOfMasks(), 2U);
}

TEST_F(RoisNetwork, LoadedCountsChangesOfItsRois) {
  addConverted();
  addSavedSet();
  HxNetwork::save(fileName("a.quarn"));
  HxObjectPool::instance().clear();
  HxNetwork::load(fileName("a.quarn"));
  fill(*findSet("rois")->getMask("A"), {6, 6, 6}, {1, 1, 1});
  findSet("rois")->fire();
  findSet("brain-rois")->getMask("Undescribed-label-1")->setName("other");
  findSet("brain-rois")->fire();
  const std::string refusal = refusalOf([&] { HxNetwork::save(fileName("a.quarn")); });
  EXPECT_THAT(refusal, HasSubstr("\n  rois: changes since it was saved as "));
  EXPECT_THAT(refusal, HasSubstr("\n  brain-rois: changes since convert made it\n"));
}

TEST_F(RoisNetwork, IsNotSavedWhenTheLabelsHaveChanged) {
  addConverted();
  auto* field = dynamic_cast<HxUniformLabelField3*>(HxObjectPool::instance().find("brain"));
  field->lattice().getLabels()[7] = 3;
  field->notifyChanged();
  field->setModified(0);
  EXPECT_THAT(refusalOf([&] { HxNetwork::save(fileName("a.quarn")); }),
              HasSubstr("\n  brain-rois: brain changed since convert made it\n"));
}

TEST_F(RoisNetwork, PassesOverRoisThatAreInNoFile) {
  addSavedSet();
  addMask("New");
  rois->fire();
  EXPECT_EQ(evaluate("rois colormap-New connect viridis; rois fire"), "");
  EXPECT_EQ(evaluate("saveNetwork -force {" + fileName("a.quarn") + "}; clear -force"), "");
  EXPECT_THAT(HxNetwork::load(fileName("a.quarn")), ElementsAre("brain", "rois"));
  EXPECT_EQ(findSet("rois")->getMask("New"), nullptr);
  EXPECT_THAT(console.consoleText(), HasSubstr("a.quarn: rois has no port \"color-New\" here;"));
  EXPECT_EQ(findSet("rois")->portData.source(), HxObjectPool::instance().find("brain"));
}

TEST_F(RoisNetwork, OverwritesASavedResultAfterLoading) {
  addConverted();
  EXPECT_EQ(findSet("brain-rois")->writeQuarnMesh(qPrintable(fileName("converted.ROIs.qm"))), 1);
  saveLoadAndSave();
  HxRois* set = findSet("brain-rois");
  EXPECT_EQ(evaluate("convert getResult"), "brain-rois");
  EXPECT_EQ(evaluate("convert doIt hit; convert fire; objects"), "brain brain-rois convert");
  EXPECT_EQ(findSet("brain-rois"), set);
  EXPECT_TRUE(set->isModified());
}

TEST_F(RoisNetwork, BringsBackWhichMasksAreVisible) {
  addSavedSet();
  EXPECT_EQ(evaluate("create HxRoiSelector sel; sel data connect rois; sel roiVisibility setRoiVisible A 0;"
                     "sel roiVisibility setRoiVisible C 0; sel fire; create HxRoiSelector other;"
                     "other data connect rois; other roiVisibility setRoiVisible G 0; other fire"),
            "");
  EXPECT_THAT(visibleOf("sel"), ElementsAre("B", "D"));
  saveLoadAndSave();
  EXPECT_THAT(visibleOf("sel"), ElementsAre("B", "D"));
  EXPECT_THAT(visibleOf("other"), ElementsAre("A", "D"));
  EXPECT_THAT(network(), HasSubstr("sel data connect rois\nsel roiVisibility setState {visibility "));
}

TEST_F(RoisNetwork, BringsBackWhatIsVisibleOfAConvertedSet) {
  addConverted();
  EXPECT_EQ(evaluate("create HxRoiSelector sel; sel data connect brain-rois;"
                     "sel roiVisibility setRoiVisible Undescribed-label-1 0; sel fire"),
            "");
  saveLoadAndSave();
  EXPECT_THAT(visibleOf("sel"), ElementsAre("Undescribed-label-2"));
}

TEST_F(RoisNetwork, BringsBackWhatIsVisibleOfALabelField) {
  HxInterfaceFactoryRegistry::instance().declare("HxUniformLabelField3",
                                                 "HxRoisProviderFromHxUniformLabelField3Factory");
  EXPECT_EQ(evaluate("create HxRoiSelector sel; sel data connect brain;"
                     "sel roiVisibility setRoiVisible Undescribed-label-1 0; sel fire"),
            "");
  saveLoadAndSave();
  EXPECT_THAT(visibleOf("sel"), ElementsAre("Undescribed-label-2"));
  HxInterfaceFactoryRegistry::instance().withdraw("HxUniformLabelField3",
                                                  "HxRoisProviderFromHxUniformLabelField3Factory");
}

TEST_F(RoisNetwork, MakesLabelsOfVisibleMasksAgain) {
  addConverted();
  EXPECT_EQ(evaluate("create HxRoiSelector sel; sel data connect brain-rois;"
                     "sel roiVisibility setRoiVisible Undescribed-label-1 0; sel fire;"
                     "create HxRoisToHxUniformLabelField3 back; back maskSelector connect sel; back doIt hit;"
                     "back fire; back getResult"),
            "brain-rois-labels");
  evaluate("brain-rois color-Undescribed-label-2 getColor; sel fire; back fire");
  saveLoadAndSave();
  const auto* labels = dynamic_cast<HxUniformLabelField3*>(HxObjectPool::instance().find("brain-rois-labels"));
  ASSERT_NE(labels, nullptr);
  EXPECT_EQ(labels->lattice().getLabels()[5], 0);
  EXPECT_EQ(labels->lattice().getLabels()[6], 1);

  EXPECT_EQ(evaluate("sel roiVisibility setRoiVisible Undescribed-label-1 1; sel fire"), "");
  EXPECT_THAT(refusalOf([&] { HxNetwork::save(fileName("a.quarn")); }),
              HasSubstr("\n  brain-rois-labels: sel changed since back made it\n"));
}

TEST_F(RoisNetwork, IsNotSavedWhileFilesOfMasksAreGone) {
  addSavedSet();
  HxNetwork::save(fileName("a.quarn"));
  for (const char* name : {"A.dat", "B.fcp", "D.ldm"}) {
    const fs::path moved = folder / "moved";
    fs::rename(masks / name, moved);
    EXPECT_THAT(refusalOf([&] { HxNetwork::save(fileName("a.quarn")); }),
                HasSubstr("\n  rois: open " + (masks / name).string() + ": No such file or directory\n"));
    fs::rename(moved, masks / name);
  }
  fs::remove_all(masks);
  EXPECT_THAT(refusalOf([&] { HxNetwork::save(fileName("a.quarn")); }),
              HasSubstr("\n  rois: open " + (masks / "A.ldm").string()));
}

}  // namespace
