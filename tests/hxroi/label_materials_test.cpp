#include "ConversionTest.h"
#include "quarn/base/McColor.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/kernel/params/HxParamBundle.h"

/// What becomes of the materials of a label field when it is turned into masks, and what the module says of its result.

using ::testing::ElementsAre;

namespace {

class LabelMaterials : public ConversionTest {
protected:
  /// Goes through the sequence of colours once, so that what comes next is known.
  static std::vector<McColor> colorSequence() {
    std::vector<McColor> sequence;
    for (std::size_t i = 0; i < McColor::htmlColorCount(); ++i) sequence.push_back(McColor::nextHtmlColor());
    return sequence;
  }
};

/// Records are numbered apart from the materials of the field, of which the first is skipped whatever it is.
TEST_F(LabelMaterials, NamesFollowTheRecordsOfTheSet) {
  const auto field = makeLabels({4, 1, 1}, {0, 1, 2, 3});
  for (const char* name : {"Bone", "Exterior", "Muscle"}) field->materials(true)->getBundle(name);
  EXPECT_THAT(namesIn(*convert(field)), ElementsAre("Exterior", "Muscle", "Undescribed-label-3"));
}

TEST_F(LabelMaterials, TheFirstMaterialIsTheBackgroundWhateverItsName) {
  const auto field = makeLabels({2, 1, 1}, {1, 1});
  field->materials(true)->getBundle("Bone");
  EXPECT_THAT(namesIn(*convert(field)), ElementsAre("Undescribed-label-1"));
}

TEST_F(LabelMaterials, AMaterialWithoutAColourLeavesTheDrawnOne) {
  const auto field = makeLabels({2, 1, 1}, {1, 2});
  for (const char* name : {"Exterior", "Bone", "Muscle"}) field->materials(true)->getBundle(name);
  const auto sequence = colorSequence();
  const HxRois* set = convert(field);
  EXPECT_EQ(set->getMask("Bone")->color(false), sequence[0]);
  EXPECT_EQ(set->getMask("Muscle")->color(false), sequence[1]);
}

TEST_F(LabelMaterials, MaterialsOfAbsentLabelsAreRecordedToo) {
  const auto field = makeLabels({2, 1, 1}, {0, 2});
  for (const char* name : {"Exterior", "Bone", "Muscle", "Fat"}) field->materials(true)->getBundle(name);
  HxRois* set = convert(field);
  EXPECT_THAT(namesIn(*set), ElementsAre("Muscle"));
  EXPECT_EQ(set->parameters.getMaterials(1)->bundleCount(), 3);
}

TEST_F(LabelMaterials, AResultOfAnotherKindIsReplaced) {
  const auto field = makeLabels({2, 1, 1}, {0, 1});
  const auto other = makeLabels({1, 1, 1}, {0});
  module->setResult(other.get());
  const HxRois* set = convert(field);
  ASSERT_NE(set, nullptr);
  EXPECT_EQ(module->resultObject(0), set);
}

TEST_F(LabelMaterials, AFieldWithoutVoxelsGivesAnEmptySet) {
  const HxRois* set = convert(makeLabels({0, 0, 0}, {}));
  ASSERT_NE(set, nullptr);
  EXPECT_EQ(set->getNumberOfRois(), 0U);
}

TEST_F(LabelMaterials, TheScriptIsGivenAlsoForWhatIsNotTheResult) {
  const auto field = makeLabels({2, 1, 1}, {0, 1});
  HxObjectPool::instance().add(module, "convert");
  QString script;
  EXPECT_FALSE(module->canCreateData(field, script)) << "there is no result yet";
  EXPECT_EQ(script, "\"convert\" doIt hit; \"convert\" compute; \"convert\" getResult\n");
  HxRois* set = convert(field);
  EXPECT_TRUE(module->canCreateData(set, script));
  EXPECT_FALSE(module->canCreateData(field, script));
  set->touch(8);
  EXPECT_FALSE(module->canCreateData(set, script));
  HxObjectPool::instance().clear();
}

TEST_F(LabelMaterials, OneMaskDrawsOneColourAlsoWhenItsMaterialHasOne) {
  const auto field = makeLabels({2, 1, 1}, {0, 1});
  for (const char* name : {"Exterior", "Bone"}) field->materials(true)->getBundle(name);
  field->materials()->getBundle("Bone")->setMaterialColor(McColor(0.25F, 0.5F, 0.75F));
  const auto sequence = colorSequence();
  rois->createAndInsertRoiFromBinaryLabelField(field);
  EXPECT_EQ(rois->getMask("Bone")->color(false), McColor(0.25F, 0.5F, 0.75F));
  EXPECT_EQ(McColor::nextHtmlColor(), sequence[1]);
}

TEST_F(LabelMaterials, ABinaryFieldWithoutAOneGivesAnEmptyMask) {
  rois->createAndInsertRoiFromBinaryLabelField(makeLabels({2, 1, 1}, {0, 0}));
  EXPECT_THAT(topLevelNames(), ElementsAre("Undescribed-label-1"));
  EXPECT_TRUE(rois->getMask("Undescribed-label-1")->empty());
}

}  // namespace
