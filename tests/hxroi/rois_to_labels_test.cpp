#include <algorithm>
#include <cstdlib>
#include <limits>
#include <random>

#include "SelectorTest.h"
#include "hxroi/HxRoisToHxUniformLabelField3.h"
#include "hxroi/HxUniformLabelField3ToHxRois.h"
#include "hxroi/detail/SetPlace.h"
#include "quarn/base/McBox3f.h"
#include "quarn/kernel/fields/geometryParameters.h"
#include "quarn/kernel/params/HxParamBundle.h"
#include "quarn/kernel/script/HxInterpreter.h"
#include "tests/support/RecordingProgress.h"

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

namespace {

class RoisToLabels : public SelectorTest {
protected:
  using Labels = std::vector<std::uint8_t>;

  RoisToLabels() { EXPECT_TRUE(module->portMaskSelector.connect(selector)); }

  /// Has the module work and gives its result.
  HxUniformLabelField3* make() {
    module->portDoIt.hit(0);
    module->fire(1);
    return dynamic_cast<HxUniformLabelField3*>(module->resultObject(0));
  }

  static Labels labelsOf(const HxUniformLabelField3& field) {
    const std::uint8_t* const labels = field.lattice().getLabels();
    return {labels, labels + field.voxelCount()};
  }

  /// A mask on a grid of one row, set from `first` to `last`; without voxels when these are out of order.
  Mask* addRow(const std::string& name, int first, int last, bool hasRecord = true) {
    Mask* const mask = addMask(name, {12, 1, 1});
    if (first <= last) fill(*mask, {first, 0, 0}, {last - first + 1, 1, 1});
    if (hasRecord) rois->parameters.getMaterials(1)->getBundle(name);
    return mask;
  }

  /// "NAME=ID" of all materials, in order.
  static std::vector<std::string> materialsOf(const HxUniformLabelField3& field) {
    std::vector<std::string> texts;
    const HxParamBundle& materials = *field.materials();
    for (int i = 0; i < materials.bundleCount(); ++i) {
      int id = -1;
      materials.getBundle(i)->findNum("Id", id);
      texts.push_back(materials.getBundle(i)->name() + "=" + std::to_string(id));
    }
    return texts;
  }

  const McHandle<HxRoisToHxUniformLabelField3> module{new HxRoisToHxUniformLabelField3};
};

// --- The module ---------------------------------------------------------------------------------------------------

TEST_F(RoisToLabels, Ports) {
  std::vector<std::string> ports;
  for (const HxPort* port : module->ports())
    ports.push_back(port->getName().toStdString() + "/" + port->getLabel().toStdString());
  EXPECT_THAT(ports, ElementsAre("data/Data", "maskSelector/Mask Selector", "doIt/Do It"));
  EXPECT_EQ(module->portDoIt.buttons(), 1);
  EXPECT_TRUE(module->dataConnection.connect(rois));
  EXPECT_FALSE(module->portMaskSelector.connect(rois));
}

TEST_F(RoisToLabels, NothingHappensWithoutButtonSelectorOrSet) {
  module->setLabel("back");
  selector->setLabel("choice");
  EXPECT_EQ(make(), nullptr);
  addRow("A", 0, 3);
  show(rois);
  module->fire(1);
  EXPECT_EQ(module->resultObject(0), nullptr) << "the button was not hit";
  module->portMaskSelector.disconnect();
  ASSERT_TRUE(module->dataConnection.connect(rois));
  EXPECT_EQ(make(), nullptr) << "the set is that of the selector";
  EXPECT_THAT(console.errors, ElementsAre(QString("back: choice has no ROI set."),
                                          QString("back: no ROI selector is connected to \"maskSelector\".")));
}

TEST_F(RoisToLabels, AScriptThatMissesTheSelectorFails) {
  HxObjectPool::instance().add(module, "back");
  HxInterpreter& interpreter = HxInterpreter::instance();
  module->portMaskSelector.disconnect();
  EXPECT_FALSE(interpreter.evaluate("back compute")) << "the button was not hit";
  const auto failure = interpreter.evaluate("back doIt hit; back compute");
  ASSERT_TRUE(failure);
  EXPECT_EQ(failure->message, "back: no ROI selector is connected to \"maskSelector\".");
  EXPECT_THAT(console.errors, IsEmpty()) << "it is told once";
  EXPECT_EQ(module->resultObject(0), nullptr);
  EXPECT_FALSE(interpreter.evaluate("back fire")) << "the button is free again";
}

TEST_F(RoisToLabels, TheSetIsThatOfTheSelector) {
  addRow("A", 0, 2);
  show(rois);
  const McHandle<HxRois> other(new HxRois);
  other->addRoi(makeMask("X", {5, 4, 3}));
  ASSERT_TRUE(module->dataConnection.connect(other));
  EXPECT_EQ(make()->latticeDimensions(), McDim3l(12, 1, 1));
}

TEST_F(RoisToLabels, WorksOnWhatNobodyHolds) {
  addRow("A", 0, 2);
  auto* const choice = new HxRoiSelector;
  auto* const maker = new HxRoisToHxUniformLabelField3;
  ASSERT_TRUE(choice->portData.connect(rois) && maker->portMaskSelector.connect(choice));
  maker->fire();
  ASSERT_EQ(choice->downstreamConnections().size(), 1U) << "it has not died of its evaluation";
  maker->portDoIt.hit(0);
  maker->fire();
  EXPECT_NE(maker->resultObject(0), nullptr);
  EXPECT_EQ(maker->portMaskSelector.source(), choice);
  EXPECT_EQ(choice->downstreamConnections().size(), 1U);
  const McHandle<HxObject> end(maker), andThis(choice);
}

TEST_F(RoisToLabels, DisjointMasksHaveLabelsOfTheirOwn) {
  addRow("A", 1, 3);
  addRow("B", 4, 9);
  show(rois);
  const HxUniformLabelField3* const field = make();
  ASSERT_NE(field, nullptr);
  EXPECT_EQ(field->latticeDimensions(), McDim3l(12, 1, 1));
  EXPECT_THAT(labelsOf(*field), ElementsAre(0, 1, 1, 1, 2, 2, 2, 2, 2, 2, 0, 0));
  EXPECT_THAT(materialsOf(*field), ElementsAre("A=1", "B=2"));
  EXPECT_EQ(field->getLabel(), "atlas-labels");
}

TEST_F(RoisToLabels, SharedVoxelsAreOverlaps) {
  addRow("A", 1, 5);
  addRow("B", 4, 8);
  addRow("C", 5, 10);
  show(rois);
  const HxUniformLabelField3* const field = make();
  EXPECT_THAT(labelsOf(*field), ElementsAre(0, 1, 1, 1, 255, 255, 255, 255, 255, 3, 3, 0));
  EXPECT_THAT(materialsOf(*field), ElementsAre("A=1", "B=2", "C=3", "Overlap=255"));
}

TEST_F(RoisToLabels, AThirdMaskLeavesAnOverlapAsItIs) {
  addRow("A", 0, 2);
  addRow("B", 2, 4);
  addRow("C", 2, 2);
  show(rois);
  EXPECT_THAT(labelsOf(*make()), ElementsAre(1, 1, 255, 2, 2, 0, 0, 0, 0, 0, 0, 0));
}

TEST_F(RoisToLabels, HiddenMasksHaveNoLabel) {
  addRow("A", 0, 2);
  addRow("B", 2, 4);
  addRow("C", 5, 6);
  show(rois);
  setVisible("B", false);
  const HxUniformLabelField3* const field = make();
  EXPECT_THAT(labelsOf(*field), ElementsAre(1, 1, 1, 0, 0, 2, 2, 0, 0, 0, 0, 0));
  EXPECT_THAT(materialsOf(*field), ElementsAre("A=1", "C=2"));
}

TEST_F(RoisToLabels, EmptyMasksHaveALabelAllTheSame) {
  addRow("A", 0, -1);
  addRow("B", 2, 4);
  show(rois);
  const HxUniformLabelField3* const field = make();
  EXPECT_THAT(labelsOf(*field), ElementsAre(0, 0, 2, 2, 2, 0, 0, 0, 0, 0, 0, 0));
  EXPECT_THAT(materialsOf(*field), ElementsAre("A=1", "B=2"));
}

TEST_F(RoisToLabels, MasksWithoutRecordHaveNoMaterial) {
  addRow("A", 0, 2);
  addRow("B", 3, 4, false);
  addRow("C", 5, 6);
  show(rois);
  const HxUniformLabelField3* const field = make();
  EXPECT_THAT(labelsOf(*field), ElementsAre(1, 1, 1, 2, 2, 3, 3, 0, 0, 0, 0, 0));
  EXPECT_THAT(materialsOf(*field), ElementsAre("A=1", "C=3"));
}

TEST_F(RoisToLabels, RecordsGiveTheColours) {
  addRow("A", 0, 2)->setColor(McColor(1, 0, 0));
  addRow("B", 3, 4);
  addRow("C", 5, 6);
  HxParamBundle& records = *rois->parameters.getMaterials(1);
  records.getBundle("A")->setMaterialColor(McColor(0.25F, 0.5F, 0.75F));
  records.getBundle("A")->set("Id", 41);
  records.getBundle("C")->set("Color", "blue");
  show(rois);
  const HxParamBundle& materials = *make()->materials();
  McColor color;
  EXPECT_TRUE(materials.getBundle("A")->getMaterialColor(color));
  EXPECT_EQ(color, McColor(0.25F, 0.5F, 0.75F)) << "not that of the mask";
  EXPECT_FALSE(materials.getBundle("B")->getMaterialColor(color));
  EXPECT_FALSE(materials.getBundle("C")->getMaterialColor(color)) << "a text is no colour";
  EXPECT_EQ(records.bundleCount(), 3) << "the set keeps what it has";
}

TEST_F(RoisToLabels, NoVisibleMaskGivesZeros) {
  addRow("A", 0, 2);
  show(rois);
  setVisible("A", false);
  const HxUniformLabelField3* const field = make();
  ASSERT_NE(field, nullptr);
  EXPECT_THAT(labelsOf(*field), Each(0));
  EXPECT_EQ(field->voxelCount(), 12);
  EXPECT_EQ(field->materials()->bundleCount(), 0);
}

TEST_F(RoisToLabels, AMaskMayBeCalledOverlap) {
  addRow("Overlap", 0, 2);
  show(rois);
  EXPECT_THAT(materialsOf(*make()), ElementsAre("Overlap=1"));
  addRow("B", 2, 3);
  rois->fire();
  setVisible("B", true);
  EXPECT_THAT(materialsOf(*make()), ElementsAre("Overlap=255", "B=2"));
}

TEST_F(RoisToLabels, MembersOfGroupsAreMasks) {
  addRow("A", 0, 2);
  const McHandle<Group> group(new Group("G", McColor(1, 0, 0), nullptr));
  const auto member = makeMask("B", {12, 1, 1});
  fill(*member, {4, 0, 0}, {2, 1, 1});
  group->addMask(member);
  rois->addRoi(group);
  show(rois);
  EXPECT_THAT(labelsOf(*make()), ElementsAre(1, 1, 1, 0, 2, 2, 0, 0, 0, 0, 0, 0));
  setVisible("G", false);
  EXPECT_THAT(labelsOf(*make()), ElementsAre(1, 1, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0));
}

TEST_F(RoisToLabels, AHundredMasksShareOneVoxel) {
  for (int i = 0; i < 100; ++i) {
    Mask* const mask = addMask("M" + std::to_string(i), {104, 2, 1});
    fill(*mask, {i, 0, 0}, {1, 1, 1});
    fill(*mask, {103, 1, 0}, {1, 1, 1});
  }
  show(rois);
  const Labels labels = labelsOf(*make());
  for (std::size_t i = 0; i < 100; ++i) ASSERT_EQ(labels[i], i + 1);
  EXPECT_EQ(labels[2 * 104 - 1], 255);
  EXPECT_EQ(std::ranges::count(labels, 0), 107);
  const auto* const field = dynamic_cast<HxUniformLabelField3*>(module->resultObject(0));
  EXPECT_THAT(materialsOf(*field), ElementsAre("Overlap=255")) << "whether masks have records or not";
}

/// Also run with next to no memory for tiles.
TEST_F(RoisToLabels, ManyTilesAgreeWithALoop) {
  const char* const given = std::getenv("QUARN_TEST_SEED");
  const auto seed = given ? static_cast<unsigned int>(std::strtoul(given, nullptr, 10)) : std::random_device{}();
  SCOPED_TRACE("QUARN_TEST_SEED=" + std::to_string(seed));
  std::mt19937 random(seed);
  const McVec3i grid(150, 70, 40);
  const auto place = [&](int length) { return std::uniform_int_distribution<int>(0, length - 1)(random); };
  Labels wanted(150 * 70 * 40);
  for (int k = 1; k <= 6; ++k) {
    Mask* const mask = addMask("M" + std::to_string(k), grid);
    std::vector<bool> isSet(wanted.size());
    for (int box = 0; box < 12; ++box) {
      const McVec3i low(place(grid.x), place(grid.y), place(grid.z));
      const McVec3i size(1 + place(grid.x - low.x), 1 + place(grid.y - low.y) / 2, 1 + place(grid.z - low.z) / 2);
      fill(*mask, low, size);
      for (int z = low.z; z < low.z + size.z; ++z)
        for (int y = low.y; y < low.y + size.y; ++y)
          for (int x = low.x; x < low.x + size.x; ++x)
            isSet[static_cast<std::size_t>((z * grid.y + y) * grid.x + x)] = true;
    }
    for (std::size_t i = 0; i < wanted.size(); ++i)
      if (isSet[i]) wanted[i] = wanted[i] ? 255 : static_cast<std::uint8_t>(k);
  }
  show(rois);
  EXPECT_TRUE(labelsOf(*make()) == wanted);
}

// --- The result ---------------------------------------------------------------------------------------------------

TEST_F(RoisToLabels, TheSameFieldIsFilledAgain) {
  addRow("A", 0, 2);
  addRow("B", 2, 4);
  show(rois);
  HxUniformLabelField3* const field = make();
  field->materials()->getBundle("Mine");
  field->setLabel("mine");
  const std::uint32_t before = field->getTouchTime();
  setVisible("A", false);
  EXPECT_EQ(make(), field);
  EXPECT_THAT(labelsOf(*field), ElementsAre(0, 0, 1, 1, 1, 0, 0, 0, 0, 0, 0, 0));
  EXPECT_THAT(materialsOf(*field), ElementsAre("B=1"));
  EXPECT_EQ(field->getLabel(), "mine");
  EXPECT_NE(field->getTouchTime(), before);

  const McHandle<HxRois> other(new HxRois);
  other->addRoi(makeMask("X", {2, 2, 2}));
  *other->getMask("X") = true;
  show(other);
  EXPECT_EQ(make(), field);
  EXPECT_EQ(field->latticeDimensions(), McDim3l(2, 2, 2));
  EXPECT_THAT(labelsOf(*field), Each(1));
}

TEST_F(RoisToLabels, TheFieldLiesWhereTheSetDoes) {
  addRow("A", 0, 2);
  show(rois);
  HxUniformLabelField3* const field = make();
  EXPECT_EQ(field->boundingBox(), McBox3f()) << "the set lies nowhere";

  const McHandle<HxUniformScalarField3> image(new HxUniformScalarField3(McDim3l(12, 1, 1), McPrimType::Uint8));
  const HxGeometry3 oblique{{1, 2, 3}, {0.5, 1, 2}, {0.8, -0.6, 0, 0.6, 0.8, 0, 0, 0, 1}};
  image->setGeometry(oblique);
  ASSERT_TRUE(rois->portData.connect(image));
  EXPECT_EQ(make(), field);
  EXPECT_EQ(field->geometry(), oblique);
  EXPECT_EQ(field->boundingBox(), image->boundingBox());

  const McHandle<HxUniformScalarField3> plain(new HxUniformScalarField3(McDim3l(12, 1, 1), McPrimType::Uint8));
  plain->setBoundingBox(McBox3f(0, 22, 5, 5, 6, 6));
  ASSERT_TRUE(rois->portData.connect(plain));
  EXPECT_EQ(make(), field);
  EXPECT_EQ(field->boundingBox(), plain->boundingBox());
  EXPECT_EQ(field->parameters.getBundle("Geometry", false), nullptr);
  EXPECT_EQ(field->geometry(), plain->geometry());
}

TEST_F(RoisToLabels, TheFieldLiesWhereTheSetRemembersToLie) {
  const HxGeometry3 oblique{{-12.5, 1, 2}, {0.5, 2, 3}, {0, -1, 0, 1, 0, 0, 0, 0, 1}};
  addRow("A", 0, 2);
  hxroi::storePlace(oblique, McDim3l(12, 1, 1), rois->parameters);
  show(rois);
  HxUniformLabelField3* const field = make();
  EXPECT_EQ(field->geometry(), oblique);
  EXPECT_EQ(field->boundingBox(), boxOfLattice(oblique, McDim3l(12, 1, 1)));

  hxroi::storePlace(oblique, McDim3l(12, 2, 1), rois->parameters);
  EXPECT_EQ(make(), field);
  EXPECT_EQ(field->boundingBox(), McBox3f()) << "another grid lay there";
  EXPECT_EQ(field->parameters.getBundle("Geometry", false), nullptr);
}

TEST_F(RoisToLabels, TheBoxIsThatOfTheSetWhateverTheGeometryTells) {
  addRow("A", 0, 2);
  show(rois);
  const McHandle<HxUniformScalarField3> image(new HxUniformScalarField3(McDim3l(12, 1, 1), McPrimType::Uint8));
  const McBox3f box(0, 22, 5, 5, 6, 6);
  image->setBoundingBox(box);
  ASSERT_TRUE(rois->portData.connect(image));
  HxParamBundle& geometry = *image->parameters.getBundle("Geometry");
  geometry.set("Origin", std::vector<double>{1, 2, 3});
  HxUniformLabelField3* const field = make();
  EXPECT_EQ(field->boundingBox(), box) << "the geometry is not whole";
  EXPECT_EQ(field->parameters.getBundle("Geometry", false), nullptr);

  geometry.set("VoxelSize", std::vector<double>{7, 8, 9});
  geometry.set("Direction", std::vector<double>{1, 0, 0, 0, 1, 0, 0, 0, 1});
  EXPECT_EQ(make(), field);
  EXPECT_EQ(field->boundingBox(), box) << "the geometry is another one";
  EXPECT_EQ(field->geometry(), image->geometry());
}

TEST_F(RoisToLabels, AnUnsoundGeometryIsLeftOut) {
  addRow("A", 0, 2);
  show(rois);
  HxUniformLabelField3* const field = make();
  const McHandle<HxUniformScalarField3> image(new HxUniformScalarField3(McDim3l(12, 1, 1), McPrimType::Uint8));
  image->setGeometry({{1, 2, 3}, {0.5, 1, 2}, {1, 0, 0, 0, 1, 0, 0, 0, 1}});
  ASSERT_TRUE(rois->portData.connect(image));
  const double none = std::numeric_limits<double>::quiet_NaN();
  for (const double size : {0.0, -1.0, none, std::numeric_limits<double>::infinity()}) {
    image->parameters.getBundle("Geometry")->set("VoxelSize", std::vector<double>{0.5, size, 2});
    field->setBoundingBox(McBox3f());
    const std::uint32_t before = field->getTouchTime();
    EXPECT_EQ(make(), field) << size;
    EXPECT_EQ(field->boundingBox(), image->boundingBox()) << size;
    EXPECT_EQ(field->parameters.getBundle("Geometry", false), nullptr) << size;
    EXPECT_NE(field->getTouchTime(), before) << size;
  }
}

TEST_F(RoisToLabels, OneHitWorksOnce) {
  addRow("A", 0, 2);
  show(rois);
  HxUniformLabelField3* const field = make();
  field->lattice().getLabels()[0] = 9;
  module->fire(1);
  EXPECT_EQ(field->lattice().getLabels()[0], 9);
}

TEST_F(RoisToLabels, ChoicesCountBeforeTheyAreEvaluated) {
  addRow("A", 0, 2);
  addRow("B", 3, 4);
  ASSERT_TRUE(selector->portData.connect(rois));
  EXPECT_THAT(labelsOf(*make()), ElementsAre(1, 1, 1, 2, 2, 0, 0, 0, 0, 0, 0, 0));
  selector->portRoiVisibility.setRoiVisible(false, "A");
  EXPECT_THAT(labelsOf(*make()), ElementsAre(0, 0, 0, 1, 1, 0, 0, 0, 0, 0, 0, 0));
}

TEST_F(RoisToLabels, CanBeMadeAgainUntilItChanges) {
  addRow("A", 0, 2);
  show(rois);
  HxObjectPool::instance().add(module, "back");
  HxUniformLabelField3* const field = make();
  EXPECT_EQ(field->getName(), "atlas-labels");
  QString script;
  EXPECT_TRUE(module->canCreateData(field, script));
  EXPECT_EQ(script, "\"back\" doIt hit; \"back\" compute; \"back\" getResult\n");
  field->touch();
  EXPECT_FALSE(module->canCreateData(field, script));
  const McHandle<HxRoisToHxUniformLabelField3> fresh(new HxRoisToHxUniformLabelField3);
  EXPECT_FALSE(fresh->canCreateData(field, script));
}

TEST_F(RoisToLabels, WorksOnTheSetOfALabelField) {
  const auto field = boneAndMuscle();
  show(field);
  EXPECT_THAT(labelsOf(*make()), ElementsAre(2, 1, 2));
}

TEST_F(RoisToLabels, LabelsComeBackAsTheyWere) {
  const auto field = makeLabels({3, 2, 1}, {0, 3, 1, 1, 2, 3});
  for (const char* name : {"Exterior", "One", "Two", "Three"}) field->materials(true)->getBundle(name);
  field->setGeometry({{1, 2, 3}, {0.5, 1, 2}, {0, 1, 0, -1, 0, 0, 0, 0, 1}});
  const McHandle<HxUniformLabelField3ToHxRois> convert(new HxUniformLabelField3ToHxRois);
  ASSERT_TRUE(convert->dataConnection.connect(field));
  convert->portDoIt.hit(0);
  convert->fire();
  show(convert->resultObject(0));
  const HxUniformLabelField3* const back = make();
  EXPECT_EQ(labelsOf(*back), labelsOf(*field));
  EXPECT_EQ(back->geometry(), field->geometry());
  EXPECT_THAT(materialsOf(*back), ElementsAre("One=1", "Two=2", "Three=3"));
}

// --- What goes wrong ----------------------------------------------------------------------------------------------

TEST_F(RoisToLabels, ASetWithoutMasksIsRefused) {
  show(rois);
  EXPECT_EQ(refusalOf([&] { make(); }), "Can not query rois dimensions with no mask.");
  EXPECT_EQ(module->resultObject(0), nullptr);
}

TEST_F(RoisToLabels, AMaskThatHasLeftTheSetIsLeftOut) {
  addRow("A", 0, 2);
  addRow("B", 3, 4);
  show(rois);
  rois->removeRoi("A");
  EXPECT_EQ(selector->getVisibleMasks().size(), 2U);
  EXPECT_THAT(labelsOf(*make()), ElementsAre(0, 0, 0, 1, 1, 0, 0, 0, 0, 0, 0, 0));
}

TEST_F(RoisToLabels, AnInterruptionLeavesTheResultAsItWas) {
  addRow("A", 0, 2);
  show(rois);
  HxUniformLabelField3* const field = make();
  addRow("B", 3, 4);
  rois->fire();
  setVisible("B", true);
  const std::uint32_t before = field->getTouchTime();
  RecordingProgress progress;
  progress.interruptAfter = 0;
  const ProgressScope scope(progress);
  EXPECT_EQ(refusalOf([&] { make(); }), "The conversion was interrupted.");
  EXPECT_EQ(module->resultObject(0), field);
  EXPECT_THAT(labelsOf(*field), ElementsAre(1, 1, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0));
  EXPECT_THAT(materialsOf(*field), ElementsAre("A=1"));
  EXPECT_EQ(field->getTouchTime(), before);
}

TEST_F(RoisToLabels, ShowsItsProgress) {
  addRow("A", 0, 2);
  show(rois);
  RecordingProgress progress;
  const ProgressScope scope(progress);
  make();
  EXPECT_THAT(progress.calls, ElementsAre("start Making labels", "stop"));
}

TEST_F(RoisToLabels, AMaskThatCannotBeReadIsNamed) {
  addRow("A", 0, 2);
  show(rois);
  HxUniformLabelField3* const field = make();
  const path user = folder / "user";
  const auto mask = makeMask("B", {12, 1, 1});
  fill(*mask, {3, 0, 0}, {2, 1, 1});
  mask->writeToFile(user);
  rois->addRoi(Mask::loadFromFile("B", user));
  rois->fire();
  setVisible("B", true);
  boost::filesystem::resize_file(folder / "user.dat", 0);
  const std::uint32_t before = field->getTouchTime();
  EXPECT_THAT(refusalOf([&] { make(); }), HasSubstr("user.dat"));
  EXPECT_EQ(module->resultObject(0), field);
  EXPECT_THAT(materialsOf(*field), ElementsAre("A=1"));
  EXPECT_EQ(field->getTouchTime(), before);
  EXPECT_THAT(labelsOf(*field), ElementsAre(1, 1, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0));
}

}  // namespace
