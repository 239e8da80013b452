#include "RoisTest.h"
#include "quarn/kernel/params/HxParamBundle.h"

using ::testing::ElementsAre;

namespace {

class RoisAlgebra : public RoisTest {
protected:
  void SetUp() override {
    fill(*addMask("A"), {0, 0, 0}, {5, 5, 5});
    fill(*addMask("B"), {3, 3, 3}, {5, 5, 3});
    fill(*addMask("C"), {12, 10, 6}, {1, 1, 1});
  }

  static constexpr std::uint64_t kA = 125;
  static constexpr std::uint64_t kAandB = 2 * 2 * 2;
  static constexpr std::uint64_t kB = 75;
};

TEST_F(RoisAlgebra, MergingMakesTheUnion) {
  const McHandle<Mask> merged(rois->mergeMasks("A", {"B", "C"}));
  EXPECT_EQ(merged->name(), "A-merged");
  EXPECT_EQ(count(*merged), kA + kB - kAandB + 1);
  EXPECT_EQ(merged->color(false), rois->getMask("A")->color(false));
  EXPECT_EQ(merged->dimensions(), rois->dimensions());
}

TEST_F(RoisAlgebra, SubtractingTakesAwayAllOthers) {
  const McHandle<Mask> rest(rois->substractMasks("A", {"B", "C"}));
  EXPECT_EQ(rest->name(), "A-substracted");
  EXPECT_EQ(count(*rest), kA - kAandB);
  EXPECT_TRUE(voxel(*rest, 2, 3, 3));
  EXPECT_FALSE(voxel(*rest, 3, 3, 3));
}

TEST_F(RoisAlgebra, NothingIsInsertedOrChanged) {
  const McHandle<Mask> merged(rois->mergeMasks("A", {"B"}));
  const McHandle<Mask> rest(rois->substractMasks("A", {"B"}));
  EXPECT_THAT(topLevelNames(), ElementsAre("A", "B", "C"));
  EXPECT_EQ(count(*rois->getMask("A")), kA);
  EXPECT_EQ(count(*rois->getMask("B")), kB);
  EXPECT_TRUE(merged->owners().empty());
}

TEST_F(RoisAlgebra, RangesAndListsAreTheSame) {
  const char* names[] = {"A", "B"};
  const McHandle<Mask> merged(rois->mergeMasks(std::begin(names), std::end(names)));
  EXPECT_EQ(count(*merged), kA + kB - kAandB);
  const std::vector<std::string> list{"B", "A"};
  const McHandle<Mask> rest(rois->substractMasks(list.begin(), list.end()));
  EXPECT_EQ(rest->name(), "B-substracted");
  EXPECT_EQ(count(*rest), kB - kAandB);
}

TEST_F(RoisAlgebra, ResultsGetUniqueNames) {
  addMask("A-merged");
  const McHandle<Mask> merged(rois->mergeMasks("A", {"B"}));
  EXPECT_EQ(merged->name(), "A-merged0");
}

TEST_F(RoisAlgebra, OneNameAloneGivesACopy) {
  const std::vector<std::string> names{"A"};
  const McHandle<Mask> merged(rois->mergeMasks(names.begin(), names.end()));
  EXPECT_EQ(count(*merged), kA);
  EXPECT_NE(merged->id(), rois->getMask("A")->id());
}

TEST_F(RoisAlgebra, AMaskWithItself) {
  const McHandle<Mask> same(rois->mergeMasks("A", {"A"}));
  EXPECT_EQ(count(*same), kA);
  const McHandle<Mask> none(rois->substractMasks("A", {"A"}));
  EXPECT_EQ(count(*none), 0U);
}

TEST_F(RoisAlgebra, EveryNameMustBeAMask) {
  rois->addRoi(makeGroup("G"));
  for (const std::string missing : {"Missing", "G"}) {
    const std::string expected = "atlas does not contains a mask named " + missing + ".";
    EXPECT_EQ(refusalOf([&] { rois->mergeMasks("A", {"B", missing}); }), expected);
    EXPECT_EQ(refusalOf([&] { rois->mergeMasks(missing, {"A"}); }), expected);
    EXPECT_EQ(refusalOf([&] { rois->substractMasks("A", {missing}); }), expected);
  }
  const std::vector<std::string> nothing;
  EXPECT_EQ(refusalOf([&] { rois->mergeMasks(nothing.begin(), nothing.end()); }),
            "atlas does not contains a mask named .");
}

TEST_F(RoisAlgebra, MergingAddsParametersAndSubtractingDoesNot) {
  rois->getMask("A")->setProperty("common", 1);
  rois->getMask("B")->setProperty("common", 2);
  rois->getMask("B")->setProperty("only", 3);
  rois->getMask("B")->parameters().getBundle("deep")->set("value", 4);
  rois->getMask("A")->parameters().getBundle("deep")->set("other", 5);

  const McHandle<Mask> merged(rois->mergeMasks("A", {"B"}));
  EXPECT_EQ(merged->intProperty("common", false), 1);
  EXPECT_EQ(merged->intProperty("only", false), 3);
  int value = 0;
  EXPECT_TRUE(merged->parameters().getBundle("deep")->findNum("value", value));
  EXPECT_EQ(value, 4);

  const McHandle<Mask> rest(rois->substractMasks("A", {"B"}));
  EXPECT_THROW(rest->intProperty("only", false), McException);
}

TEST_F(RoisAlgebra, MembersOfGroupsTakePart) {
  const auto group = makeGroup("G", {"D"});
  fill(*group->getMask("D"), {0, 0, 0}, {1, 1, 7});
  rois->addRoi(group);
  const McHandle<Mask> merged(rois->mergeMasks("D", {"A"}));
  EXPECT_EQ(merged->name(), "D-merged");
  EXPECT_EQ(count(*merged), kA + 2);
}

TEST_F(RoisAlgebra, CopyingFlattensGroupsAndSkipsPresentNames) {
  const McHandle<HxRois> source(new HxRois);
  const auto a = makeMask("A");
  fill(*a, {0, 0, 0}, {1, 1, 1});
  source->addRoi(a);
  const auto group = makeGroup("G", {"D", "E"});
  fill(*group->getMask("D"), {0, 0, 0}, {2, 2, 2});
  source->addRoi(group);
  source->parameters.getMaterials(1)->getBundle("D")->set("Id", 17);
  source->parameters.getMaterials(1)->getBundle("unused")->set("Id", 18);

  rois->copyAllMasksFrom(source);
  EXPECT_THAT(topLevelNames(), ElementsAre("A", "B", "C", "D", "E"));
  EXPECT_EQ(count(*rois->getMask("A")), kA);
  EXPECT_EQ(count(*rois->getMask("D")), 8U);
  EXPECT_NE(rois->getMask("D"), group->getMask("D"));
  const HxParamBundle* record = rois->parameters.getMaterials()->getBundle("D", false);
  ASSERT_NE(record, nullptr);
  int id = 0;
  EXPECT_TRUE(record->findNum("Id", id));
  EXPECT_EQ(id, 17);
  EXPECT_EQ(rois->parameters.getMaterials()->getBundle("unused", false), nullptr);
}

TEST_F(RoisAlgebra, CopyingFromASetOfAnotherGridIsRefused) {
  const McHandle<HxRois> source(new HxRois);
  source->addRoi(makeMask("Z", {2, 2, 2}));
  EXPECT_THROW(rois->copyAllMasksFrom(source), McException);
  EXPECT_EQ(rois->getRoi("Z"), nullptr);
}

TEST_F(RoisAlgebra, ARefusedCopyLeavesNoRecordBehind) {
  for (int i = 3; i < 99; ++i) addMask("m" + std::to_string(i));
  const McHandle<HxRois> source(new HxRois);
  for (const char* name : {"first", "second"}) {
    source->addRoi(makeMask(name));
    source->parameters.getMaterials(1)->getBundle(name, true)->set("kind", name);
  }
  EXPECT_EQ(refusalOf([&] { rois->copyAllMasksFrom(source); }),
            "There is already 100 masks inside atlas. No more mask can be inserted.");
  EXPECT_TRUE(rois->getMask("first"));
  EXPECT_TRUE(rois->parameters.getMaterials(0)->getBundle("first", false));
  EXPECT_FALSE(rois->parameters.getMaterials(0)->getBundle("second", false));
}

TEST_F(RoisAlgebra, CopyingWithoutRecordsMakesNone) {
  const auto group = makeGroup("Group", {"One", "Two"});
  rois->copyAllMasksFrom(group, nullptr);
  EXPECT_THAT(topLevelNames(), ElementsAre("A", "B", "C", "One", "Two"));
  EXPECT_EQ(rois->parameters.getMaterials(0), nullptr);
}

TEST_F(RoisAlgebra, ACopiedRecordIsWrittenOverThePresentOne) {
  HxParamBundle record("Bone");
  record.set("kind", "new");
  rois->parameters.getMaterials(1)->getBundle("Bone", true)->set("kind", "old");
  rois->parameters.getMaterials(1)->getBundle("Bone", true)->set("mine", 7);
  rois->copyBundle(&record);
  const HxParamBundle* present = rois->parameters.getMaterials(0)->getBundle("Bone");
  std::string kind;
  int mine = 0;
  EXPECT_TRUE(present->findString("kind", kind) && present->findNum("mine", mine));
  EXPECT_EQ(kind, "new");
  EXPECT_EQ(mine, 7);
}

}  // namespace
