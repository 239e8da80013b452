#include <algorithm>
#include <cstdlib>
#include <random>
#include <stdexcept>

#include "ConversionTest.h"
#include "hxroi/HxRoisHelpers.h"
#include "quarn/kernel/fields/HxColormap.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/kernel/params/HxParamBundle.h"
#include "tests/support/RecordingProgress.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

namespace {

class LabelConversion : public ConversionTest {
protected:
  using Labels = std::vector<std::uint8_t>;

  static void addMaterials(HxUniformLabelField3& field, const std::vector<std::string>& names) {
    for (const std::string& name : names) field.materials(true)->getBundle(name);
  }

  static std::uint64_t countLabel(const HxUniformLabelField3& field, int label) {
    const std::uint8_t* labels = field.lattice().getLabels();
    return static_cast<std::uint64_t>(std::count(labels, labels + field.voxelCount(), label));
  }

  /// Whether the mask is set exactly where the field has the label.
  static ::testing::AssertionResult agrees(const Mask& mask, const HxUniformLabelField3& field, int label) {
    const std::uint8_t* labels = field.lattice().getLabels();
    const auto box = mask.getConstBox();
    std::int64_t i = 0;
    for (const bool set : box) {
      if (set != (labels[i] == label)) return ::testing::AssertionFailure() << "label " << label << ", voxel " << i;
      ++i;
    }
    if (i != field.voxelCount()) return ::testing::AssertionFailure() << i << " voxels";
    return ::testing::AssertionSuccess();
  }
};

unsigned int testSeed() {
  const char* given = std::getenv("QUARN_TEST_SEED");
  const unsigned int seed =
      given ? static_cast<unsigned int>(std::strtoul(given, nullptr, 10)) : std::random_device{}();
  ::testing::Test::RecordProperty("seed", std::to_string(seed));
  return seed;
}

// --- Filling one mask ---------------------------------------------------------------------------------------------

TEST_F(LabelConversion, StoreAgreesWithTheLabelsOnAnyGrid) {
  const unsigned int seed = testSeed();
  SCOPED_TRACE("QUARN_TEST_SEED=" + std::to_string(seed));
  std::mt19937 random(seed);
  preferences().setTileSize(32);
  std::vector<McDim3l> grids{{13, 11, 7}, {257, 65, 33}, {1, 1, 1},   {8, 1, 1},    {64, 1, 2},
                             {63, 3, 65}, {65, 1, 97},   {7, 129, 3}, {128, 32, 64}};
  for (int i = 0; i < 40; ++i) {
    const auto length = [&random] { return std::uniform_int_distribution<std::int64_t>(1, 70)(random); };
    grids.emplace_back(length(), length(), length());
  }
  for (const McDim3l& grid : grids) {
    const McHandle<HxUniformLabelField3> field(new HxUniformLabelField3(grid));
    std::generate_n(field->lattice().getLabels(), field->voxelCount(),
                    [&random] { return static_cast<std::uint8_t>(random() % 4); });
    const auto mask = makeMask("A", HxRoisHelpers::gridOf(*field));
    *mask = true;
    HxRoisHelpers::store(field, 2, mask, nullptr);
    ASSERT_TRUE(agrees(*mask, *field, 2)) << grid.nx << " x " << grid.ny << " x " << grid.nz;
    ASSERT_EQ(count(*mask), countLabel(*field, 2));
  }
  preferences().setTileSize(64);
}

TEST_F(LabelConversion, StoreTellsEveryByteFromEveryOther) {
  Labels labels(256 * 3);
  for (std::size_t i = 0; i < labels.size(); ++i) labels[i] = static_cast<std::uint8_t>(i);
  const auto field = makeLabels({256, 3, 1}, labels);
  const auto mask = makeMask("A", {256, 3, 1});
  for (int label = 0; label < 256; ++label) {
    HxRoisHelpers::store(field, label, mask, nullptr);
    ASSERT_TRUE(agrees(*mask, *field, label));
  }
}

TEST_F(LabelConversion, StoreOfALabelThatCannotBe) {
  const auto field = makeLabels({4, 1, 1}, {0, 1, 255, 0});
  const auto mask = makeMask("A", {4, 1, 1});
  for (const int label : {-1, 256, 257}) {
    *mask = true;
    HxRoisHelpers::store(field, label, mask, nullptr);
    EXPECT_EQ(count(*mask), 0U) << label;
  }
}

TEST_F(LabelConversion, StoreTellsTheFractionAfterEachSlice) {
  const auto field = makeLabels({3, 2, 4}, Labels(24, 1));
  const auto mask = makeMask("A", {3, 2, 4});
  RecordingProgress progress;
  HxRoisHelpers::store(field, 1, mask, &progress);
  EXPECT_THAT(progress.values, ElementsAre(0.0F, 0.25F, 0.5F, 0.75F));
}

TEST_F(LabelConversion, StoreForgetsTheFormerBox) {
  const auto field = makeLabels({3, 2, 1}, {0, 0, 0, 0, 7, 0});
  const auto mask = makeMask("A", {3, 2, 1});
  fill(*mask, {0, 0, 0}, {3, 2, 1});
  HxRoisHelpers::store(field, 7, mask, nullptr);
  EXPECT_EQ(mask->getBoundingBox(), McBox3i(1, 1, 1, 1, 0, 0));
}

TEST_F(LabelConversion, StoreRefusesAnotherGrid) {
  const auto field = makeLabels({3, 2, 1}, Labels(6, 1));
  const auto mask = makeMask("A", {3, 2, 2});
  EXPECT_EQ(refusalOf([&] { HxRoisHelpers::store(field, 1, mask, nullptr); }),
            "Mask is incompatible with data (different dimension)");
}

// --- The module ---------------------------------------------------------------------------------------------------

TEST_F(LabelConversion, Ports) {
  EXPECT_EQ(module->dataConnection.getName(), "data");
  EXPECT_EQ(module->portDoIt.getName(), "doIt");
  EXPECT_EQ(module->portDoIt.getLabel(), "Do It");
  EXPECT_EQ(module->portDoIt.buttons(), 1);
}

TEST_F(LabelConversion, MaterialsNameAndColourTheMasks) {
  const auto field = makeLabels({2, 2, 2}, {0, 2, 2, 1, 0, 2, 0, 0});
  addMaterials(*field, {"Exterior", "Bone", "Muscle"});
  HxParamBundle& materials = *field->materials();
  materials.getBundle("Bone")->set("Id", 41);
  materials.getBundle("Muscle")->setMaterialColor(McColor(0.125F, 0.25F, 0.5F));

  HxRois* set = convert(field);
  ASSERT_NE(set, nullptr);
  EXPECT_THAT(namesIn(*set), ElementsAre("Bone", "Muscle"));
  EXPECT_TRUE(agrees(*set->getMask("Bone"), *field, 1));
  EXPECT_TRUE(agrees(*set->getMask("Muscle"), *field, 2));
  EXPECT_EQ(set->getMask("Muscle")->color(false), McColor(0.125F, 0.25F, 0.5F));

  const HxParamBundle& records = *set->parameters.getMaterials();
  ASSERT_EQ(records.bundleCount(), 2);
  EXPECT_EQ(records.getBundle(0)->name(), "Bone");
  int id = 0;
  EXPECT_TRUE(records.getBundle(0)->findNum("Id", id));
  EXPECT_EQ(id, 41);
  McColor color;
  EXPECT_FALSE(records.getBundle(0)->getMaterialColor(color));
  EXPECT_TRUE(records.getBundle(1)->getMaterialColor(color));
  EXPECT_EQ(color, McColor(0.125F, 0.25F, 0.5F));
}

TEST_F(LabelConversion, LabelsBeyondTheMaterialsGetNamesOfTheirOwn) {
  const auto field = makeLabels({4, 1, 1}, {9, 1, 0, 200});
  addMaterials(*field, {"Exterior", "Bone", "Muscle"});
  EXPECT_THAT(namesIn(*convert(field)), ElementsAre("Bone", "Undescribed-label-9", "Undescribed-label-200"));
}

TEST_F(LabelConversion, ALabelFieldWithoutMaterials) {
  const auto field = makeLabels({3, 1, 1}, {7, 255, 0});
  EXPECT_THAT(namesIn(*convert(field)), ElementsAre("Undescribed-label-7", "Undescribed-label-255"));
}

TEST_F(LabelConversion, LabelZeroNeverGivesAMask) {
  HxRois* set = convert(makeLabels({5, 1, 1}, Labels(5, 0)));
  ASSERT_NE(set, nullptr);
  EXPECT_EQ(set->getNumberOfRois(), 0U);
}

TEST_F(LabelConversion, ColoursAreDrawnInOrderOfAppearance) {
  const auto field = makeLabels({4, 1, 1}, {3, 1, 2, 3});
  addMaterials(*field, {"Exterior", "One", "Two", "Three"});
  field->materials()->getBundle("One")->setMaterialColor(McColor(0.5F, 0.5F, 0.5F));

  // The sequence is a circle: take it to its start, so that the next three colours are known.
  std::vector<McColor> sequence;
  for (std::size_t i = 0; i < McColor::htmlColorCount(); ++i) sequence.push_back(McColor::nextHtmlColor());
  HxRois* set = convert(field);
  EXPECT_EQ(set->getMask("Three")->color(false), sequence[0]);
  EXPECT_EQ(set->getMask("One")->color(false), McColor(0.5F, 0.5F, 0.5F));
  EXPECT_EQ(set->getMask("Two")->color(false), sequence[2]);
  EXPECT_EQ(McColor::nextHtmlColor(), sequence[3]);
}

TEST_F(LabelConversion, TheSetLiesWhereItsFieldDoes) {
  const auto field = makeLabels({3, 1, 1}, {1, 2, 2});
  HxRois* const set = convert(field);
  EXPECT_EQ(set->portData.source(), field.get());
  const auto larger = makeLabels({4, 1, 1}, {1, 0, 0, 1});
  EXPECT_EQ(convert(larger), set);
  EXPECT_EQ(set->portData.source(), larger.get());
  EXPECT_EQ(set->dimensions(), McVec3i(4, 1, 1));
}

TEST_F(LabelConversion, AnImageThatTheUserChoseStaysThePlace) {
  const auto field = makeLabels({3, 1, 1}, {1, 2, 2});
  HxRois* const set = convert(field);
  const McHandle<HxUniformScalarField3> image(new HxUniformScalarField3(McDim3l(3, 1, 1), McPrimType::Uint8));
  ASSERT_TRUE(set->portData.connect(image));
  convert(field);
  EXPECT_EQ(set->portData.source(), image.get());
}

TEST_F(LabelConversion, AnInterruptionPutsThePlaceBack) {
  const auto field = makeLabels({3, 1, 1}, {1, 2, 2});
  HxRois* const set = convert(field);
  const auto other = makeLabels({4, 1, 1}, {1, 2, 3, 0});
  RecordingProgress progress;
  progress.interruptAfter = 2;
  const ProgressScope scope(progress);
  ASSERT_TRUE(module->dataConnection.connect(other));
  module->portDoIt.hit(0);
  EXPECT_EQ(refusalOf([&] { module->fire(1); }), "The conversion was interrupted.");
  EXPECT_EQ(set->portData.source(), field.get());
  EXPECT_EQ(set->dimensions(), McVec3i(3, 1, 1));
}

TEST_F(LabelConversion, RunningAgainRefillsTheSameSet) {
  const auto field = makeLabels({3, 1, 1}, {1, 2, 2});
  addMaterials(*field, {"Exterior", "Bone", "Muscle"});
  HxRois* set = convert(field);
  set->getMask("Bone")->setName("Renamed");
  field->lattice().getLabels()[0] = 0;
  field->materials()->getBundle(2)->setName("Brawn");

  EXPECT_EQ(convert(field), set);
  EXPECT_THAT(namesIn(*set), ElementsAre("Brawn"));
  EXPECT_EQ(count(*set->getMask("Brawn")), 2U);
  EXPECT_EQ(set->parameters.getMaterials()->bundleCount(), 2);
  EXPECT_EQ(set->parameters.getMaterials()->getBundle("Muscle", false), nullptr);
}

TEST_F(LabelConversion, NothingHappensWithoutButtonOrInput) {
  module->portDoIt.hit(0);
  module->fire(1);
  EXPECT_EQ(module->resultObject(0), nullptr);
  const auto field = makeLabels({1, 1, 1}, {1});
  ASSERT_TRUE(module->dataConnection.connect(field));
  module->fire(1);
  EXPECT_EQ(module->resultObject(0), nullptr);
}

TEST_F(LabelConversion, OneHitConvertsOnce) {
  const auto field = makeLabels({3, 1, 1}, {1, 2, 2});
  HxRois* set = convert(field);
  set->getMask("Undescribed-label-1")->setName("Renamed");
  module->fire(1);
  EXPECT_EQ(module->resultObject(0), set);
  EXPECT_THAT(namesIn(*set), ElementsAre("Renamed", "Undescribed-label-2"));
}

TEST_F(LabelConversion, ProgressGoesStepByStep) {
  RecordingProgress progress;
  const ProgressScope scope(progress);
  convert(makeLabels({3, 1, 1}, {4, 2, 2}));
  EXPECT_THAT(progress.calls, ElementsAre("steps 2", "step Converting label 2", "text Flushing mask 2", "end",
                                          "step Converting label 4", "text Flushing mask 4", "end", "done"));
}

TEST_F(LabelConversion, MasksAreFlushed) {
  HxRois* set = convert(makeLabels({3, 1, 1}, {1, 0, 1}));
  const Mask* mask = set->getMask("Undescribed-label-1");
  EXPECT_FALSE(mask->volumeMask()->hasUnsavedEdits());
  EXPECT_TRUE(boost::filesystem::exists(mask->temporaryPrefix() + ".ldm"));
}

TEST_F(LabelConversion, TooManyLabelsKeepTheFirstHundred) {
  Labels labels(104);
  for (std::size_t i = 0; i < labels.size(); ++i) labels[i] = static_cast<std::uint8_t>(i);
  const auto field = makeLabels({104, 1, 1}, labels);
  std::vector<std::string> names{"Exterior"};
  for (int i = 1; i < 104; ++i) names.push_back("Lobule_" + std::to_string(i));
  addMaterials(*field, names);

  RecordingProgress progress;
  const ProgressScope scope(progress);
  ASSERT_TRUE(module->dataConnection.connect(field));
  module->portDoIt.hit(0);
  const std::string text = refusalOf([&] { module->fire(1); });
  auto* set = dynamic_cast<HxRois*>(module->resultObject(0));
  ASSERT_NE(set, nullptr);
  EXPECT_EQ(text, "There is already 100 masks inside " + set->getLabel().toStdString() +
                      ". No more mask can be inserted.\n"
                      "Labels left out: 101 Lobule_101, 102 Lobule_102, 103 Lobule_103");
  EXPECT_EQ(set->getNumberOfMasks(), 100U);
  EXPECT_EQ(namesIn(*set).back(), "Lobule_100");
  EXPECT_EQ(count(*set->getMask("Lobule_100")), 1U);
  ASSERT_FALSE(progress.calls.empty());
  EXPECT_EQ(progress.calls.back(), "done");
  EXPECT_EQ(std::count(progress.calls.begin(), progress.calls.end(), "end"), 101);
}

TEST_F(LabelConversion, ManyLabelsThatAreLeftOutAreNamedAsRanges) {
  Labels labels(255);
  for (std::size_t i = 0; i < labels.size(); ++i) labels[i] = static_cast<std::uint8_t>(i == 200 ? 0 : i);
  const auto field = makeLabels({255, 1, 1}, labels);
  ASSERT_TRUE(module->dataConnection.connect(field));
  module->portDoIt.hit(0);
  EXPECT_THAT(refusalOf([&] { module->fire(1); }), ::testing::EndsWith("\nLabels left out: 101-199, 201-254"));
}

TEST_F(LabelConversion, AnInterruptionLeavesNoResult) {
  RecordingProgress progress;
  progress.interruptAfter = 2;  // the labels are read and one mask is made
  const ProgressScope scope(progress);
  const auto field = makeLabels({3, 1, 1}, {1, 2, 3});
  ASSERT_TRUE(module->dataConnection.connect(field));
  module->portDoIt.hit(0);
  EXPECT_EQ(refusalOf([&] { module->fire(1); }), "The conversion was interrupted.");
  EXPECT_EQ(module->resultObject(0), nullptr);
  EXPECT_THAT(progress.calls, ElementsAre("steps 3", "step Converting label 1", "text Flushing mask 1", "end", "done"));
}

TEST_F(LabelConversion, AnInterruptionWhileTheLabelsAreReadTouchesNoSet) {
  RecordingProgress progress;
  progress.interruptAfter = 0;
  const ProgressScope scope(progress);
  const auto field = makeLabels({3, 1, 1}, {1, 2, 3});
  ASSERT_TRUE(module->dataConnection.connect(field));
  module->portDoIt.hit(0);
  EXPECT_EQ(refusalOf([&] { module->fire(1); }), "The conversion was interrupted.");
  EXPECT_EQ(module->resultObject(0), nullptr);
  EXPECT_THAT(progress.calls, IsEmpty());
}

TEST_F(LabelConversion, AnInterruptionPutsTheFormerContentBack) {
  const auto field = makeLabels({3, 1, 1}, {1, 2, 2});
  addMaterials(*field, {"Exterior", "Bone", "Muscle"});
  const McHandle<HxRois> set = convert(field);
  const McHandle<HxColormap> colormap(new HxColormap);
  set->getMask("Bone")->setColormap(colormap);
  set->addRoi(makeGroup("G"));
  field->materials()->getBundle(1)->setName("Other");

  RecordingProgress progress;
  progress.interruptAfter = 2;
  const ProgressScope scope(progress);
  module->portDoIt.hit(0);
  EXPECT_EQ(refusalOf([&] { module->fire(1); }), "The conversion was interrupted.");
  EXPECT_EQ(module->resultObject(0), set.get());
  EXPECT_THAT(namesIn(*set), ElementsAre("Bone", "Muscle", "G"));
  EXPECT_EQ(count(*set->getMask("Muscle")), 2U);
  EXPECT_EQ(set->getMask("Bone")->colormap(false), colormap.get());
  EXPECT_EQ(set->parameters.getMaterials()->getBundle(0)->name(), "Bone");
  EXPECT_EQ(set->parameters.getMaterials()->bundleCount(), 2);
}

TEST_F(LabelConversion, ARefusedFirstMaskPutsTheFormerContentBack) {
  const auto field = makeLabels({3, 1, 1}, {1, 2, 2});
  addMaterials(*field, {"Exterior", "Bone", "Muscle"});
  const McHandle<HxRois> set = convert(field);
  const McHandle<HxColormap> colormap(new HxColormap);
  set->getMask("Bone")->setColormap(colormap);
  const McHandle<HxUniformScalarField3> image(new HxUniformScalarField3(McDim3l(3, 1, 1), McPrimType::Uint8));
  ASSERT_TRUE(set->portData.connect(image));

  const auto larger = makeLabels({4, 1, 1}, {0, 5, 0, 9});
  addMaterials(*larger, {"Exterior", "Other"});
  ASSERT_TRUE(module->dataConnection.connect(larger));
  module->portDoIt.hit(0);
  EXPECT_EQ(refusalOf([&] { module->fire(1); }),
            "Mask is incompatible with data (different dimension)\n"
            "Labels left out: 5 Undescribed-label-5, 9 Undescribed-label-9");
  EXPECT_EQ(module->resultObject(0), set.get());
  EXPECT_THAT(namesIn(*set), ElementsAre("Bone", "Muscle"));
  EXPECT_EQ(count(*set->getMask("Muscle")), 2U);
  EXPECT_EQ(set->getMask("Bone")->colormap(false), colormap.get());
  EXPECT_EQ(set->parameters.getMaterials()->bundleCount(), 2);
}

TEST_F(LabelConversion, AMaskThatCannotBeFilledIsNamed) {
  struct FailingProgress : RecordingProgress {
    void setText(const std::string& text) override {
      if (text == "Flushing mask 2") throw std::runtime_error("no space left");
    }
  } progress;
  const ProgressScope scope(progress);
  const auto field = makeLabels({3, 1, 1}, {1, 2, 3});
  ASSERT_TRUE(module->dataConnection.connect(field));
  module->portDoIt.hit(0);
  EXPECT_EQ(refusalOf([&] { module->fire(1); }),
            "no space left\nLabels left out: 2 Undescribed-label-2, 3 Undescribed-label-3");
  auto* set = dynamic_cast<HxRois*>(module->resultObject(0));
  ASSERT_NE(set, nullptr);
  EXPECT_THAT(namesIn(*set), ElementsAre("Undescribed-label-1"));
}

TEST_F(LabelConversion, NamesAreNotMadeUnique) {
  const auto field = makeLabels({3, 1, 1}, {1, 2, 3});
  addMaterials(*field, {"Exterior", "Undescribed-label-3", "Bone"});
  ASSERT_TRUE(module->dataConnection.connect(field));
  module->portDoIt.hit(0);
  const std::string text = refusalOf([&] { module->fire(1); });
  auto* set = dynamic_cast<HxRois*>(module->resultObject(0));
  ASSERT_NE(set, nullptr);
  EXPECT_THAT(text, StartsWith("A roi named Undescribed-label-3 has already been inserted inside this HxRois ("));
  EXPECT_THAT(text, ::testing::EndsWith("\nLabels left out: 3 Undescribed-label-3"));
  EXPECT_THAT(namesIn(*set), ElementsAre("Undescribed-label-3", "Bone"));
}

TEST_F(LabelConversion, TheScriptMakesTheResultAgain) {
  const auto field = makeLabels({2, 1, 1}, {0, 1});
  HxObjectPool::instance().add(module, "convert");
  HxRois* set = convert(field);
  QString script;
  EXPECT_TRUE(module->canCreateData(set, script));
  EXPECT_EQ(script, "\"convert\" doIt hit; \"convert\" compute; \"convert\" getResult\n");
  set->getMask("Undescribed-label-1")->setColor(McColor(0, 0, 0));
  EXPECT_TRUE(module->canCreateData(set, script));
  fill(*set->getMask("Undescribed-label-1"), {0, 0, 0}, {1, 1, 1});
  EXPECT_FALSE(module->canCreateData(set, script));
  HxObjectPool::instance().clear();
}

// --- One mask from a binary field ---------------------------------------------------------------------------------

TEST_F(LabelConversion, BinaryFieldsOnly) {
  const auto field = makeLabels({3, 1, 1}, {0, 1, 2});
  EXPECT_EQ(refusalOf([&] { rois->createAndInsertRoiFromBinaryLabelField(field); }),
            "Can not create and insert mask from a HxUniformLabelField3 that is not a binary label field.");
  EXPECT_EQ(rois->getNumberOfRois(), 0U);
}

TEST_F(LabelConversion, BinaryFieldOfAnotherGrid) {
  addMask("A", {3, 1, 1});
  const auto field = makeLabels({1, 3, 1}, {0, 1, 1});
  EXPECT_EQ(refusalOf([&] { rois->createAndInsertRoiFromBinaryLabelField(field); }),
            "Can not insert mask because dimensions don't match.");
  rois->removeAllRois();
  rois->createAndInsertRoiFromBinaryLabelField(field);
  EXPECT_EQ(rois->dimensions(), McVec3i(1, 3, 1));
}

TEST_F(LabelConversion, BinaryFieldTwiceGivesTwoMasks) {
  const auto field = makeLabels({3, 1, 1}, {0, 1, 1});
  addMaterials(*field, {"Exterior", "Bone"});
  field->materials()->getBundle("Bone")->set("Id", 5);
  field->materials()->getBundle("Bone")->setMaterialColor(McColor(0.25F, 0.5F, 0.75F));
  rois->createAndInsertRoiFromBinaryLabelField(field);
  rois->createAndInsertRoiFromBinaryLabelField(field);
  EXPECT_THAT(topLevelNames(), ElementsAre("Bone", "Bone0"));
  for (const char* name : {"Bone", "Bone0"}) {
    EXPECT_TRUE(agrees(*rois->getMask(name), *field, 1));
    EXPECT_EQ(rois->getMask(name)->color(false), McColor(0.25F, 0.5F, 0.75F));
    const HxParamBundle* record = rois->parameters.getMaterials()->getBundle(name, false);
    ASSERT_NE(record, nullptr);
    int id = 0;
    EXPECT_TRUE(record->findNum("Id", id));
    EXPECT_EQ(id, 5);
  }
}

TEST_F(LabelConversion, BinaryFieldWithoutMaterials) {
  addMask("A", {3, 1, 1});
  const auto field = makeLabels({3, 1, 1}, {0, 0, 1});
  rois->createAndInsertRoiFromBinaryLabelField(field);
  EXPECT_THAT(topLevelNames(), ElementsAre("A", "Undescribed-label-2"));
  EXPECT_EQ(count(*rois->getMask("Undescribed-label-2")), 1U);
}

TEST_F(LabelConversion, MasksWithoutMaterialAreNumberedByTopLevelRois) {
  rois->addRoi(makeGroup("G", {"A", "B", "C"}));
  std::vector<std::uint8_t> labels(13 * 11 * 7, 1);
  rois->createAndInsertRoiFromBinaryLabelField(makeLabels({13, 11, 7}, labels));
  EXPECT_THAT(topLevelNames(), ElementsAre("G", "Undescribed-label-2"));
}

TEST_F(LabelConversion, ARefusedMaskIsPrintedAndItsRecordStays) {
  for (int i = 0; i < 100; ++i) addMask("m" + std::to_string(i), {3, 1, 1});
  const auto field = makeLabels({3, 1, 1}, {0, 1, 1});
  addMaterials(*field, {"Exterior", "Bone"});
  rois->createAndInsertRoiFromBinaryLabelField(field);
  EXPECT_THAT(console.consoleEntries,
              ElementsAre("There is already 100 masks inside atlas. No more mask can be inserted."));
  EXPECT_EQ(rois->getNumberOfMasks(), 100U);
  EXPECT_NE(rois->parameters.getMaterials()->getBundle("Bone", false), nullptr);
}

}  // namespace
