#include "RoisTest.h"
#include "hxroi/HxRoisColorInformation.h"
#include "hxroi/details/Roi.h"
#include "quarn/kernel/fields/HxStandardColormaps.h"
#include "quarn/kernel/io/QuarnMesh.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/kernel/script/HxInterpreter.h"

using ::testing::ElementsAre;
using ::testing::Not;

namespace {

/// Sees the marks that a set raises while it is evaluated.
class WatchedRois : public HxRois {
public:
  void touch(unsigned int flags) override {
    touches.push_back(flags);
    HxRois::touch(flags);
  }
  std::vector<unsigned int> touches;
};

class RoisPorts : public RoisTest {
protected:
  RoisPorts() { HxObjectPool::instance().add(rois, "rois"); }
  ~RoisPorts() override { HxObjectPool::instance().clear(); }

  static std::string evaluate(const QString& script) {
    HxInterpreter& interpreter = HxInterpreter::instance();
    if (const auto error = interpreter.evaluate(script)) return "error: " + error->message.toStdString();
    return interpreter.result().toStdString();
  }

  /// Names of the ports, in their order.
  static std::string ports() { return evaluate("rois ports"); }

  static HxColormap* viridis() { return HxStandardColormaps::instance().find("viridis"); }

  /// Runs the cycle as a program does that has nothing else to tell.
  void fire() { rois->fire(); }
};

constexpr const char* kOwnPorts =
    "data overlappingProperties overlappingRenderingStyle overlappingBoundaryColor overlappingVoltexColormap "
    "roiProperties roiVisibility";

TEST_F(RoisPorts, StandInTheirOrderWithTheirDefaults) {
  EXPECT_THAT(ports(), ::testing::HasSubstr(kOwnPorts));
  EXPECT_EQ(rois->portOverlappingProperties.getLabel(), "Overlapping Properties");
  EXPECT_EQ(rois->portRoiProperties.getLabel(), "Roi Properties");

  const HxPortRadioBox& style = rois->portOverlappingRenderingStyle;
  EXPECT_EQ(style.HxPort::getLabel(), "Rendering Style");
  EXPECT_EQ(style.buttons(), 2);
  EXPECT_EQ(style.getLabel(0), "volume");
  EXPECT_EQ(style.getLabel(1), "boundary");
  EXPECT_EQ(style.getValue(), 1);

  EXPECT_EQ(rois->portOverlappingBoundaryColor.getLabel(), "Color");
  EXPECT_EQ(rois->portOverlappingBoundaryColor.count(), 1);
  EXPECT_FALSE(rois->portOverlappingBoundaryColor.isVisible()) << "hidden until the first evaluation";

  const HxPortColormap& colormap = rois->portOverlappingVoltexColormap;
  EXPECT_EQ(colormap.getLabel(), "");
  EXPECT_EQ(colormap.defaultColor(), McColor(1, 1, 1));
  EXPECT_EQ(colormap.defaultAlpha(), 0.5F);
  EXPECT_TRUE(colormap.isLocalRangeActive());
}

TEST_F(RoisPorts, ShowColourOrColormapOfOverlapsAsTheStyleIs) {
  fire();
  EXPECT_TRUE(rois->portOverlappingBoundaryColor.isVisible());
  EXPECT_FALSE(rois->portOverlappingVoltexColormap.isVisible());
  EXPECT_EQ(evaluate("rois overlappingRenderingStyle setValue volume; rois fire"), "");
  EXPECT_FALSE(rois->portOverlappingBoundaryColor.isVisible());
  EXPECT_TRUE(rois->portOverlappingVoltexColormap.isVisible());
  rois->portOverlappingRenderingStyle.setValue(7);
  fire();
  EXPECT_FALSE(rois->portOverlappingBoundaryColor.isVisible());
  EXPECT_FALSE(rois->portOverlappingVoltexColormap.isVisible());
}

TEST_F(RoisPorts, RaiseTheirMarksWhenTheDisplayOfOverlapsChanges) {
  const McHandle<WatchedRois> watched(new WatchedRois);
  watched->fire();
  watched->touches.clear();
  watched->fire();
  EXPECT_THAT(watched->touches, ElementsAre());
  watched->portOverlappingBoundaryColor.setColor(0, McColor(0, 1, 0));
  watched->fire();
  EXPECT_THAT(watched->touches, ElementsAre(57344U));
  watched->touches.clear();
  watched->portOverlappingVoltexColormap.connect(viridis());
  watched->fire();
  EXPECT_THAT(watched->touches, ElementsAre(57344U));
  watched->touches.clear();
  watched->portOverlappingRenderingStyle.setValue(0);
  watched->fire();
  EXPECT_THAT(watched->touches, ElementsAre(57344U));
}

TEST_F(RoisPorts, AreMadeForEachRoiInOrderOfNames) {
  rois->addRoi(makeMask("Zygoma"));
  rois->addRoi(makeGroup("Group", {"Member"}));
  EXPECT_THAT(ports(), Not(::testing::HasSubstr("color-")));
  fire();
  EXPECT_THAT(ports(), ::testing::EndsWith("colormap-Group color-Group colormap-Member color-Member "
                                           "colormap-Zygoma color-Zygoma"));
  rois->removeRoi("Group");
  fire();
  EXPECT_THAT(ports(), ::testing::EndsWith("roiVisibility colormap-Zygoma color-Zygoma"));
}

TEST_F(RoisPorts, ShowTheValuesOfTheRoiWithoutMarks) {
  const auto mask = makeMask("Bone");
  mask->setColormap(viridis());
  mask->setColormapRange({-1, 2});
  mask->setAlphaEnabled(false);
  rois->addRoi(mask);
  fire();
  EXPECT_EQ(evaluate("rois color-Bone getColor"), "0.5 0.25 1");
  EXPECT_EQ(evaluate("rois colormap-Bone getMinMax"), "-1 2");
  EXPECT_EQ(evaluate("rois colormap-Bone isAlphaEnabled"), "0");
  EXPECT_EQ(evaluate("rois colormap-Bone isVisible; "), "0");
  EXPECT_EQ(evaluate("rois color-Bone isVisible"), "0");
  EXPECT_EQ(mask->colormap(false), viridis());
  EXPECT_FALSE(mask->isAlphaEnabled()) << "the port wrote its own value back";
}

TEST_F(RoisPorts, OfARoiAreMadeForItsOwnColormapRangeAndColour) {
  const auto mask = makeMask("Bone");
  mask->setColormap(viridis());
  rois->addRoi(mask);
  rois->rebuildPortList();
  const auto* colormap = dynamic_cast<const HxPortColormap*>(rois->findPort("colormap-Bone"));
  const auto* color = dynamic_cast<const HxPortColorList*>(rois->findPort("color-Bone"));
  ASSERT_TRUE(colormap && color);
  EXPECT_FALSE(colormap->isConstantColorEnabled());
  EXPECT_TRUE(colormap->isLocalRangeActive());
  EXPECT_EQ(colormap->colormap(), viridis());
  EXPECT_EQ(colormap->getLabel(), "");
  EXPECT_EQ(color->getLabel(), "Color");
  EXPECT_EQ(color->count(), 1);
  EXPECT_FALSE(colormap->isVisible() || color->isVisible());
  EXPECT_FALSE(colormap->isNew() || color->isNew());
}

TEST_F(RoisPorts, FollowEachKindOfChangeByItself) {
  Mask* mask = addMask("Bone");
  fire();
  mask->setColor(McColor(0, 1, 0));
  fire();
  EXPECT_EQ(evaluate("rois color-Bone getColor"), "0 1 0");
  mask->setColormapRange({3, 4});
  fire();
  EXPECT_EQ(evaluate("rois colormap-Bone getMinMax"), "3 4");
  mask->setAlphaEnabled(false);
  fire();
  EXPECT_EQ(evaluate("rois colormap-Bone isAlphaEnabled"), "0");
  mask->setColormap(viridis());
  fire();
  EXPECT_EQ(evaluate("rois colormap-Bone source"), "viridis");
  mask->setColormap(HxStandardColormaps::instance().find("magma"));
  fire();
  EXPECT_EQ(evaluate("rois colormap-Bone source"), "magma");
  mask->setColormap(nullptr);
  fire();
  EXPECT_EQ(evaluate("rois colormap-Bone source"), "");
}

TEST_F(RoisPorts, TellTheRoiWhenItsColormapChangesInItself) {
  const McHandle<HxColormap> colormap(new HxColormap);
  const McHandle<WatchedRois> watched(new WatchedRois);
  const auto mask = makeMask("Bone");
  mask->setColormap(colormap);
  watched->addRoi(mask);
  watched->fire();
  watched->touches.clear();
  colormap->setMinMax(0, 5);
  colormap->fire();
  EXPECT_THAT(watched->touches, ElementsAre(2048U));
}

TEST_F(RoisPorts, NeverGiveANewRoiWhatWasMeantForAFormerOne) {
  const McHandle<HxColormap> colormap(new HxColormap);
  addMask("Bone")->setColormap(colormap);
  fire();
  rois->replaceRoi("Bone", makeMask("Skull"));
  colormap->setMinMax(0, 5);
  colormap->fire();
  EXPECT_EQ(rois->getMask("Skull")->colormap(false), nullptr);

  EXPECT_EQ(evaluate("rois color-Skull setColor 1 0 0"), "");
  rois->replaceRoi("Skull", makeMask("Jaw"));
  fire();
  EXPECT_EQ(rois->getMask("Jaw")->color(false), McColor(0.5F, 0.25F, 1));

  rois->getMask("Jaw")->setColormap(colormap);
  fire();
  EXPECT_EQ(evaluate("rois color-Jaw setColor 1 0 0"), "");
  rois->removeRoi("Jaw");
  addMask("Jaw");
  colormap->setMinMax(0, 6);
  colormap->fire();
  EXPECT_EQ(rois->getMask("Jaw")->colormap(false), nullptr);
  EXPECT_EQ(rois->getMask("Jaw")->color(false), McColor(0.5F, 0.25F, 1));
}

TEST_F(RoisPorts, LoseNoChangeToAChangeOfAnotherRoi) {
  Mask* bone = addMask("Bone");
  Mask* air = addMask("Air");
  fire();
  EXPECT_EQ(evaluate("rois color-Bone setColor 1 0 0; rois colormap-Bone connect viridis"), "");
  air->setColor(McColor(0, 1, 0));
  fire();
  EXPECT_EQ(bone->color(false), McColor(1, 0, 0));
  EXPECT_EQ(bone->colormap(false), viridis());
  EXPECT_EQ(evaluate("rois color-Air getColor"), "0 1 0");
}

TEST_F(RoisPorts, YieldToALaterChangeOfTheirOwnRoi) {
  Mask* bone = addMask("Bone");
  fire();
  EXPECT_EQ(evaluate("rois color-Bone setColor 1 0 0"), "");
  bone->setColor(McColor(0, 1, 0));
  fire();
  EXPECT_EQ(bone->color(false), McColor(0, 1, 0));
  EXPECT_EQ(evaluate("rois color-Bone getColor"), "0 1 0");
}

TEST_F(RoisPorts, MayBeMadeAnewWhileOneOfThemSends) {
  addMask("Bone");
  fire();
  addMask("Air");
  EXPECT_EQ(evaluate("rois color-Bone setColor 1 0 0; rois color-Bone send"), "");
  EXPECT_EQ(rois->getMask("Bone")->color(false), McColor(1, 0, 0));
  EXPECT_THAT(ports(), ::testing::HasSubstr("color-Air"));
}

TEST_F(RoisPorts, LeaveAModifiedSetModifiedWhateverTheyShow) {
  addMask("Bone");
  fire();
  EXPECT_TRUE(rois->isModified());
  EXPECT_EQ(evaluate("rois overlappingRenderingStyle setValue volume; rois fire"), "");
  EXPECT_TRUE(rois->isModified());
  EXPECT_EQ(evaluate("rois colormap-Bone connect viridis; rois fire"), "");
  EXPECT_TRUE(rois->isModified());
  rois->setModified(0);
  EXPECT_EQ(evaluate("rois overlappingRenderingStyle setValue boundary; rois fire"), "");
  EXPECT_FALSE(rois->isModified());
  EXPECT_EQ(evaluate("rois parameters set species mouse; rois colormap-Bone disconnect; rois fire"), "");
  EXPECT_TRUE(rois->isModified());
}

TEST_F(RoisPorts, FollowChangesOfTheRoi) {
  Mask* mask = addMask("Bone");
  fire();
  mask->setColor(McColor(0, 1, 0));
  mask->setColormapRange({3, 4});
  mask->setColormap(viridis());
  mask->setAlphaEnabled(false);
  fire();
  EXPECT_EQ(evaluate("rois color-Bone getColor"), "0 1 0");
  EXPECT_EQ(evaluate("rois colormap-Bone getMinMax"), "3 4");
  EXPECT_EQ(evaluate("rois colormap-Bone isAlphaEnabled"), "0");
  mask->setColormap(nullptr);
  fire();
  EXPECT_EQ(mask->colormap(false), nullptr);
}

TEST_F(RoisPorts, ChangeTheRoi) {
  Mask* mask = addMask("Bone");
  fire();
  EXPECT_EQ(evaluate("rois color-Bone setColor 0 0.5 1; rois colormap-Bone setMinMax 5 6"), "");
  EXPECT_EQ(mask->color(false), McColor(0.5F, 0.25F, 1)) << "before the evaluation";
  fire();
  EXPECT_EQ(mask->color(false), McColor(0, 0.5F, 1));
  EXPECT_EQ(mask->colormapRange(false), std::pair(5.0F, 6.0F));
  EXPECT_EQ(evaluate("rois colormap-Bone connect viridis; rois colormap-Bone setAlphaEnabled 0; rois fire"), "");
  EXPECT_EQ(mask->colormap(false), viridis());
  EXPECT_FALSE(mask->isAlphaEnabled());
  EXPECT_EQ(evaluate("rois colormap-Bone disconnect; rois fire"), "");
  EXPECT_EQ(mask->colormap(false), nullptr);
}

TEST_F(RoisPorts, LoseNoChangeToTheNextCommand) {
  Mask* mask = addMask("Bone");
  addMask("Air");
  addMask("Fat");
  fire();
  EXPECT_EQ(evaluate("rois color-Bone setColor 0 0.5 1; rois mergeMasks Air Fat; rois color-Bone getColor"), "0 0.5 1");
  EXPECT_EQ(evaluate("rois color-Air-merged getColor"), "0.5 0.25 1") << "ports of the new mask are there at once";
  EXPECT_EQ(evaluate("rois color-Bone setColor 1 0.5 0; rois removeRois Air; rois fire; rois color-Bone getColor"),
            "1 0.5 0");
  EXPECT_EQ(mask->color(false), McColor(1, 0.5F, 0));
  EXPECT_THAT(evaluate("rois color-Air getColor"), ::testing::HasSubstr("error: "));
}

TEST_F(RoisPorts, AreSavedWithTheirPendingChangesAndThereAfterLoading) {
  addMask("Bone");
  fire();
  EXPECT_EQ(evaluate("rois color-Bone setColor 0 0.5 1"), "");
  const std::string file = (folder / "a.ROIs.qm").string();
  ASSERT_EQ(rois->writeQuarnMesh(file.c_str()), 1) << console.consoleText();
  const auto mesh = QuarnMesh::read(QString::fromStdString(file));
  const McHandle<HxRois> loaded(new HxRois);
  QString name;
  ASSERT_EQ(loaded->readQuarnMesh(mesh.get(), file.c_str(), name), 1) << console.consoleText();
  HxObjectPool::instance().add(loaded, "loaded");
  EXPECT_EQ(evaluate("loaded color-Bone getColor"), "0 0.5 1");
}

TEST_F(RoisPorts, FollowTheNameOfTheRoi) {
  Mask* mask = addMask("Bone");
  addMask("Air");
  fire();
  mask->setName("Skull");
  EXPECT_EQ(evaluate("rois color-Skull getColor"), "0.5 0.25 1");
  EXPECT_THAT(evaluate("rois color-Bone getColor"), ::testing::HasSubstr("error: "));
  EXPECT_EQ(evaluate("rois color-Skull setColor 1 0 0; rois fire"), "");
  EXPECT_EQ(mask->color(false), McColor(1, 0, 0));
}

TEST_F(RoisPorts, StayWithThePlaceOfAReplacedRoi) {
  addMask("Bone");
  fire();
  rois->replaceRoi("Bone", makeMask("Skull"));
  EXPECT_THAT(ports(), ::testing::EndsWith("colormap-Skull color-Skull"));
  fire();
  EXPECT_THAT(ports(), ::testing::EndsWith("roiVisibility colormap-Skull color-Skull"));
}

TEST_F(RoisPorts, SurviveTheRoiUntilTheNextEvaluation) {
  addMask("Bone");
  fire();
  rois->removeRoi("Bone");
  EXPECT_EQ(evaluate("rois color-Bone setColor 1 0 0"), "");
  fire();
  EXPECT_THAT(ports(), Not(::testing::HasSubstr("Bone")));
}

TEST_F(RoisPorts, NeverMakeASetWorthSavingByItsDisplayOfColormapsAlone) {
  Mask* mask = addMask("Bone");
  fire();
  rois->setModified(0);
  mask->setColormapRange({3, 4});
  fire();
  EXPECT_FALSE(rois->isModified());
}

}  // namespace
