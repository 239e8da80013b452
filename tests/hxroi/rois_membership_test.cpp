#include <memory>

#include "RoisTest.h"
#include "hxroi/details/Roi.h"
#include "quarn/kernel/fields/HxColormap.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

const std::string kFull = "There is already 100 masks inside atlas. No more mask can be inserted.";

/// Does not let go of a set until it is told to.
class ClingingMask : public hxroi::details::Mask {
public:
  ClingingMask(const std::string& name, const McVec3i& grid) : Mask(name, grid, false, McColor(), nullptr) {}
  void notifyRemovedFromHxRois(HxRois* set) override {
    if (clings) throw McException(name() + " stays");
    Mask::notifyRemovedFromHxRois(set);
  }
  bool clings = true;
};

class RoisMembership : public RoisTest {
protected:
  void addMasks(int number, const McVec3i& grid = {4, 3, 2}) {
    for (int i = 0; i < number; ++i) addMask("m" + std::to_string(i), grid);
  }
};

TEST_F(RoisMembership, FindsMasksGroupsAndMembers) {
  Mask* a = addMask("A");
  const auto group = makeGroup("G", {"B", "C"});
  rois->addRoi(group);

  EXPECT_EQ(rois->getRoi("A"), a);
  EXPECT_EQ((*rois)["G"], group.get());
  EXPECT_EQ(rois->getMask("B"), group->getMask("B"));
  EXPECT_EQ(rois->getGroup("G"), group.get());
  EXPECT_EQ(rois->getMask("G"), nullptr);
  EXPECT_EQ(rois->getGroup("A"), nullptr);
  EXPECT_EQ(rois->getRoi("a"), nullptr);
  EXPECT_EQ(rois->getNumberOfRois(), 2U);
  EXPECT_EQ(rois->getNumberOfMasks(), 3U);
  EXPECT_TRUE(rois->containsRoi(group->getMask("C")));
  EXPECT_FALSE(rois->containsRoi(makeMask("A").get()));
  EXPECT_FALSE(rois->containsRoi(nullptr));
  EXPECT_THAT(topLevelNames(), ElementsAre("A", "G"));
  EXPECT_THAT(maskNames(), ElementsAre("A", "B", "C"));
}

TEST_F(RoisMembership, EmptySetHasNoDimensions) {
  EXPECT_EQ(refusalOf([&] { rois->dimensions(); }), "Can not query rois dimensions with no mask.");
  rois->addRoi(makeGroup("G"));
  EXPECT_EQ(refusalOf([&] { rois->dimensions(); }), "Can not query rois dimensions with no mask.");
}

TEST_F(RoisMembership, FirstMaskFixesTheGridAndTheLastOneFreesIt) {
  addMask("A", {13, 11, 7});
  EXPECT_EQ(rois->dimensions(), McVec3i(13, 11, 7));
  EXPECT_EQ(refusalOf([&] {
              addMask("B", {12, 10, 6});
            }),
            "Mask B dimensions (12, 10, 6) does not match other rois dimensions (13, 11, 7).");
  EXPECT_THAT(topLevelNames(), ElementsAre("A"));
  for (const McVec3i& other : {McVec3i(12, 11, 7), McVec3i(13, 12, 7), McVec3i(13, 11, 8)}) {
    EXPECT_THROW(addMask("B", other), McException);
  }
  rois->removeRoi("A");
  EXPECT_THROW(rois->dimensions(), McException);
  addMask("B", {12, 10, 6});
  EXPECT_EQ(rois->dimensions(), McVec3i(12, 10, 6));
}

TEST_F(RoisMembership, TileSizesMustAgree) {
  addMask("A");
  preferences().setTileSize(preferences().getTileSize() == 64 ? 128 : 64);
  const auto other = makeMask("B");
  preferences().setTileSize(preferences().getTileSize() == 64 ? 128 : 64);
  EXPECT_THAT(refusalOf([&] { rois->addRoi(other); }),
              ::testing::StartsWith("Mask is incompatible with data (different tile size)."));
  EXPECT_THAT(maskNames(), ElementsAre("A"));
  EXPECT_TRUE(other->owners().empty());
}

TEST_F(RoisMembership, NamesAreComparedWithTheirCase) {
  addMask("Mask1");
  addMask("mask1");
  EXPECT_EQ(rois->getNumberOfRois(), 2U);
  EXPECT_EQ(refusalOf([&] { addMask("Mask1"); }),
            "A roi named Mask1 has already been inserted inside this HxRois (atlas).");
}

TEST_F(RoisMembership, LabelsWithPlaceMarkersStayAsTheyAre) {
  rois->setLabel("%1 and %2");
  addMask("A");
  EXPECT_EQ(refusalOf([&] { addMask("A"); }),
            "A roi named A has already been inserted inside this HxRois (%1 and %2).");
}

TEST_F(RoisMembership, TheSameRoiTwiceIsRefusedByItsName) {
  Mask* a = addMask("A");
  EXPECT_EQ(refusalOf([&] { rois->addRoi(a); }), "A roi named A has already been inserted inside this HxRois (atlas).");
  EXPECT_EQ(refusalOf([&] { a->notifyAddedToHxRois(rois); }), "A has already been inserted inside HxRois atlas.");
}

TEST_F(RoisMembership, NoMoreThanAHundredMasks) {
  addMasks(100);
  EXPECT_EQ(refusalOf([&] { addMask("over", {4, 3, 2}); }), kFull);
  EXPECT_EQ(rois->getNumberOfMasks(), 100U);
  rois->addRoi(makeGroup("empty"));
  EXPECT_EQ(rois->getNumberOfRois(), 101U);
  EXPECT_EQ(refusalOf([&] { rois->getGroup("empty")->addMask(makeMask("over", {4, 3, 2})); }), kFull);
  EXPECT_EQ(rois->getGroup("empty")->size(), 0U);
}

TEST_F(RoisMembership, TheNameIsCheckedFirstThenTheNumberThenTheGrid) {
  addMasks(99);
  EXPECT_EQ(refusalOf([&] {
              addMask("m7", {5, 5, 5});
            }),
            "A roi named m7 has already been inserted inside this HxRois (atlas).");
  EXPECT_EQ(refusalOf([&] {
              addMask("new", {5, 5, 5});
            }),
            "Mask new dimensions (5, 5, 5) does not match other rois dimensions (4, 3, 2).");
  addMask("last", {4, 3, 2});
  EXPECT_EQ(refusalOf([&] {
              addMask("m7", {5, 5, 5});
            }),
            "A roi named m7 has already been inserted inside this HxRois (atlas).");
  EXPECT_EQ(refusalOf([&] { addMask("new", {5, 5, 5}); }), kFull);
}

TEST_F(RoisMembership, MembersOfGroupsCount) {
  addMasks(98);
  McHandle<Group> group(new Group("G", McColor(), nullptr));
  for (const char* name : {"x", "y", "z"}) group->addMask(makeMask(name, {4, 3, 2}));
  EXPECT_EQ(refusalOf([&] { rois->addRoi(group); }), kFull);
  EXPECT_EQ(rois->getNumberOfMasks(), 98U);
  EXPECT_EQ(rois->getRoi("x"), nullptr);
  EXPECT_TRUE(group->owners().empty());
  group->removeMask("z");
  rois->addRoi(group);
  EXPECT_EQ(rois->getNumberOfMasks(), 100U);
}

TEST_F(RoisMembership, AGroupIsRefusedWhole) {
  addMask("B");
  const auto group = makeGroup("G", {"A", "B", "C"});
  EXPECT_EQ(refusalOf([&] { rois->addRoi(group); }),
            "A roi named B has already been inserted inside this HxRois (atlas).");
  EXPECT_THAT(maskNames(), ElementsAre("B"));
  EXPECT_EQ(rois->getRoi("A"), nullptr);
  EXPECT_TRUE(group->owners().empty());
  EXPECT_TRUE(group->getMask("A")->owners().empty());
}

TEST_F(RoisMembership, AGroupWithAMemberOfItsOwnNameIsRefused) {
  const auto group = makeGroup("G", {"A", "G"});
  EXPECT_EQ(refusalOf([&] { rois->addRoi(group); }),
            "A roi named G has already been inserted inside this HxRois (atlas).");
  EXPECT_EQ(rois->getNumberOfRois(), 0U);
  EXPECT_EQ(rois->getNumberOfMasks(), 0U);
  EXPECT_TRUE(group->getMask("A")->owners().empty());
}

TEST_F(RoisMembership, RefusalByTheRoiItselfLeavesListAndGrid) {
  const auto mask = makeMask("A");
  // The mask believes to be in the set already, the set does not know it.
  mask->notifyAddedToHxRois(rois);
  EXPECT_EQ(refusalOf([&] { rois->addRoi(mask); }), "A has already been inserted inside HxRois atlas.");
  EXPECT_EQ(rois->getNumberOfMasks(), 0U);
  EXPECT_THROW(rois->dimensions(), McException);
  EXPECT_EQ(rois->getRoi("A"), nullptr);
  mask->notifyRemovedFromHxRois(rois);
}

TEST_F(RoisMembership, InsertsAtAPosition) {
  addMask("A");
  addMask("B");
  rois->insertRoi(makeMask("C"), 1);
  rois->insertRoi(makeMask("D"), 0);
  rois->insertRoi(makeMask("E"), 99);
  EXPECT_THAT(topLevelNames(), ElementsAre("D", "A", "C", "B", "E"));
  EXPECT_THAT(maskNames(), ElementsAre("A", "B", "C", "D", "E"));
}

TEST_F(RoisMembership, InsertionClearsTheParentAndTheNodesExtent) {
  const auto group = makeGroup("G", {"A"});
  McHandle<Mask> mask = group->getMask("A");
  mask->volumeMask()->setExtent(SbBox3f(SbVec3f(0, 0, 0), SbVec3f(9, 9, 9)));
  rois->addRoi(mask);
  EXPECT_EQ(mask->parent(), nullptr);
  EXPECT_EQ(mask->volumeMask()->extent(), SbBox3f(SbVec3f(0, 0, 0), SbVec3f(1, 1, 1)));
}

TEST_F(RoisMembership, RemovingHandsTheRoiToTheCaller) {
  const McHandle<HxColormap> colormap(new HxColormap);
  addMask("A")->setColormap(colormap);
  addMask("B");
  const HxRois::RoiHandle removed = rois->removeRoi("A");
  EXPECT_EQ(removed->name(), "A");
  EXPECT_EQ(removed->refCount(), 1);
  EXPECT_EQ(removed->colormap(false), nullptr);
  EXPECT_TRUE(removed->owners().empty());
  EXPECT_THAT(topLevelNames(), ElementsAre("B"));
  EXPECT_EQ(refusalOf([&] { rois->removeRoi("A"); }), "No roi named A has been inserted inside this HxRois (atlas).");
}

TEST_F(RoisMembership, MembersAreNotRemovedBehindTheirGroup) {
  const auto group = makeGroup("G", {"A", "B"});
  rois->addRoi(group);
  EXPECT_EQ(refusalOf([&] { rois->removeRoi("A"); }), "No roi named A has been inserted inside this HxRois (atlas).");
  EXPECT_EQ(rois->getMask("A"), group->getMask("A"));
  EXPECT_EQ(rois->getNumberOfMasks(), 2U);
}

TEST_F(RoisMembership, GroupsLeaveWithTheirMembers) {
  rois->addRoi(makeGroup("G", {"A", "B"}));
  const auto group = rois->removeRoi("G");
  EXPECT_EQ(rois->getNumberOfMasks(), 0U);
  EXPECT_EQ(rois->getRoi("A"), nullptr);
  EXPECT_THROW(rois->dimensions(), McException);
}

TEST_F(RoisMembership, MembersEnterAndLeaveThroughTheirGroup) {
  rois->addRoi(makeGroup("G", {"A"}));
  Group* group = rois->getGroup("G");
  group->addMask(makeMask("B"));
  EXPECT_EQ(rois->getMask("B"), group->getMask("B"));
  EXPECT_EQ(refusalOf([&] { group->addMask(makeMask("G")); }),
            "A roi named G has already been inserted inside this HxRois (atlas).");
  group->removeMask("A");
  EXPECT_EQ(rois->getRoi("A"), nullptr);
  EXPECT_THAT(maskNames(), ElementsAre("B"));
}

TEST_F(RoisMembership, RemoveAllEmptiesTheSet) {
  addMask("A");
  rois->addRoi(makeGroup("G", {"B"}));
  rois->removeAllRois();
  EXPECT_THAT(topLevelNames(), IsEmpty());
  EXPECT_THAT(maskNames(), IsEmpty());
  EXPECT_EQ(rois->getRoi("B"), nullptr);
}

TEST_F(RoisMembership, ReplacingKeepsThePlace) {
  for (const char* name : {"A", "B", "C"}) addMask(name);
  Mask* b = rois->getMask("B");
  const HxRois::RoiHandle replaced = rois->replaceRoi("B", makeMask("X"));
  EXPECT_EQ(replaced.get(), b);
  EXPECT_THAT(topLevelNames(), ElementsAre("A", "X", "C"));
  EXPECT_THROW(rois->replaceRoi("B", makeMask("Y")), McException);
}

TEST_F(RoisMembership, ARefusedReplacementPutsTheOldRoiBack) {
  const McHandle<HxColormap> colormap(new HxColormap);
  for (const char* name : {"A", "B", "C"}) addMask(name);
  rois->getMask("B")->setColormap(colormap);
  EXPECT_THROW(rois->replaceRoi("B", makeMask("C")), McException);
  EXPECT_THROW(rois->replaceRoi("B", makeMask("X", {1, 2, 3})), McException);
  EXPECT_THAT(topLevelNames(), ElementsAre("A", "B", "C"));
  EXPECT_EQ(rois->getMask("B")->colormap(false), colormap.get());
}

TEST_F(RoisMembership, RenamingMovesTheIndexEntry) {
  Mask* a = addMask("A");
  addMask("B");
  a->setName("X");
  EXPECT_EQ(rois->getRoi("X"), a);
  EXPECT_EQ(rois->getRoi("A"), nullptr);
  EXPECT_EQ(refusalOf([&] { a->setName("B"); }), "A roi named B has already been inserted inside this HxRois (atlas).");
  EXPECT_EQ(a->name(), "X");
  EXPECT_EQ(rois->getRoi("X"), a);
  EXPECT_EQ(refusalOf([&] { rois->notifyRoiRename("nobody", "Y"); }),
            "No roi named nobody has been inserted inside this HxRois (atlas).");
  EXPECT_EQ(rois->getRoi("Y"), nullptr);
}

TEST_F(RoisMembership, AMaskMayBelongToTwoSets) {
  Mask* a = addMask("A");
  const McHandle<HxRois> other(new HxRois);
  other->addRoi(a);
  a->setName("X");
  EXPECT_EQ(rois->getRoi("X"), a);
  EXPECT_EQ(other->getRoi("X"), a);
  other->removeRoi("X");
  EXPECT_EQ(rois->getRoi("X"), a);
}

TEST_F(RoisMembership, TheSetLetsGoOfItsRoisWhenItDies) {
  const McHandle<Mask> a = addMask("A");
  const auto group = makeGroup("G", {"B"});
  rois->addRoi(group);
  rois.reset();
  EXPECT_TRUE(a->owners().empty());
  EXPECT_TRUE(group->owners().empty());
  EXPECT_TRUE(group->getMask("B")->owners().empty());
  EXPECT_EQ(a->refCount(), 1);
}

TEST_F(RoisMembership, ADyingSetLetsGoOfTheOthersWhenOneClings) {
  const McHandle<Mask> a = addMask("A");
  const McHandle<ClingingMask> clinging(new ClingingMask("B", {13, 11, 7}));
  rois->addRoi(clinging);
  const McHandle<Mask> c = addMask("C");
  rois.reset();
  EXPECT_THAT(console.consoleEntries, ElementsAre("A ROI does not leave its dying set: B stays"));
  EXPECT_TRUE(a->owners().empty());
  EXPECT_TRUE(c->owners().empty());
  EXPECT_EQ(c->refCount(), 1);
  EXPECT_TRUE(clinging->owners().empty()) << "nothing leads to the dead";
  clinging->setColor(McColor(0, 1, 0));
}

/// Sets asked before the refusing one keep the new name, the ROI its old one.
class ParterNames : public RoisMembership {
protected:
  ParterNames() {
    second->setLabel("second");
    mask = makeMask("Bone");
    for (HxRois* set : {static_cast<HxRois*>(rois), static_cast<HxRois*>(second)}) set->addRoi(mask);
    last = *std::prev(mask->owners().end());
    first = *mask->owners().begin();
    last->addRoi(makeMask("Taken"));
    EXPECT_THROW(mask->setName("Taken"), McException);
    EXPECT_EQ(mask->name(), "Bone");
    EXPECT_EQ(first->getMask("Taken"), mask);
  }

  const McHandle<HxRois> second = new HxRois;
  McHandle<Mask> mask;
  HxRois* first;
  HxRois* last;
};

TEST_F(ParterNames, EitherNameRemovesTheRoi) {
  first->removeRoi("Bone");
  EXPECT_FALSE(first->containsRoi(mask));
  EXPECT_EQ(first->getNumberOfMasks(), 0U);
  EXPECT_EQ(mask->owners(), Roi::Owners{last});
  first->addRoi(mask);
  EXPECT_EQ(first->getMask("Bone"), mask);
}

TEST_F(ParterNames, TheNameOfTheSetRemovesTheRoi) {
  first->removeRoi("Taken");
  EXPECT_EQ(mask->owners(), Roi::Owners{last});
}

TEST_F(ParterNames, AllCanStillBeRemovedAndNamed) {
  EXPECT_EQ(first->editableMasks(), std::vector<Mask*>{mask});
  first->removeAllRois();
  EXPECT_EQ(first->getNumberOfRois(), 0U);
  mask->setName("Skull");
  EXPECT_EQ(last->getMask("Skull"), mask);
}

TEST_F(ParterNames, ADyingSetLetsGoOfTheRoi) {
  const bool isRois = first == rois;
  (isRois ? rois : const_cast<McHandle<HxRois>&>(second)).reset();
  EXPECT_EQ(mask->owners(), Roi::Owners{last});
  mask->setColor(McColor(0, 1, 0));
}

}  // namespace
