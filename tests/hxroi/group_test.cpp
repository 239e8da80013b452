#include "hxroi/details/Group.h"

#include "quarn/kernel/fields/HxColormap.h"
#include "tests/hxroi/MaskTest.h"

using hxroi::details::Group;
using hxroi::details::Roi;

namespace {

class GroupTest : public MaskTest {
protected:
  static McHandle<Mask> member(const std::string& name, const McBox3i& box = hxroi::emptyBox<int>()) {
    const auto mask = makeMask({13, 11, 7}, false, name);
    if (!box.isEmpty()) fill(*mask, box);
    return mask;
  }

  std::vector<std::string> names() const {
    std::vector<std::string> result;
    for (const Mask& mask : *group) result.push_back(mask.name());
    return result;
  }

  const McHandle<Group> group = new Group("group", McColor(0, 1, 0), nullptr);
};

/// A mask that does not let one set have it, or does not let one set go.
class StubbornMask : public hxroi::details::Mask {
public:
  /// The sets that had it leave, in order.
  std::vector<const HxRois*> left;

  explicit StubbornMask(const std::string& name) : Mask(name, {13, 11, 7}, false, McColor(1, 1, 0), nullptr) {}

  void notifyAddedToHxRois(HxRois* rois) override {
    if (rois == notEntered) throw McException("does not enter");
    Mask::notifyAddedToHxRois(rois);
  }
  void notifyRemovedFromHxRois(HxRois* rois) override {
    if (rois == notLeft) throw McException("does not leave");
    left.push_back(rois);
    Mask::notifyRemovedFromHxRois(rois);
  }

  const HxRois* notEntered = nullptr;
  const HxRois* notLeft = nullptr;
};

/// A group in three sets, which are told in this order.
class GroupInSets : public GroupTest {
protected:
  GroupInSets() {
    for (const auto& set : {one_, two_, three_}) set->addRoi(group);
    sets.assign(group->owners().begin(), group->owners().end());
  }

  std::vector<HxRois*> sets;

private:
  const McHandle<HxRois> one_ = new HxRois;
  const McHandle<HxRois> two_ = new HxRois;
  const McHandle<HxRois> three_ = new HxRois;
};

using Names = std::vector<std::string>;

}  // namespace

TEST_F(GroupTest, MembersKeepTheirOrder) {
  group->addMask(member("a"));
  group->addMask(member("b"));
  group->insertMask(member("c"), 1);
  EXPECT_EQ(names(), (Names{"a", "c", "b"}));
  EXPECT_EQ(group->getMask("c")->parent(), group);
}

TEST_F(GroupTest, SecondMemberOfANameIsRefusedAndNoSetHearsOfIt) {
  const McHandle<ListeningRois> rois = new ListeningRois;
  group->addMask(member("a"));
  rois->addRoi(group);
  rois->touches.clear();
  const auto other = member("a");
  EXPECT_EQ(refusal([&] { group->addMask(other); }), "Mask already inserted inside this group.");
  EXPECT_TRUE(rois->touches.empty());
  EXPECT_EQ(rois->getNumberOfMasks(), 1U);
  EXPECT_EQ(other->parent(), nullptr);
}

TEST_F(GroupTest, UnknownMembersAreNamed) {
  EXPECT_EQ(refusal([&] { group->getMask("a"); }), "ROI a not found.");
  EXPECT_EQ(refusal([&] { std::as_const(*group).getMask("a"); }), "ROI a not found.");
  EXPECT_EQ(refusal([&] { group->removeMask("a"); }), "Mask not found.");
  const auto newMask = member("b");
  EXPECT_EQ(refusal([&] { group->replaceMask("a", newMask); }), "Mask not found.");
}

TEST_F(GroupTest, RemovedMemberGoesToTheCaller) {
  group->addMask(member("a"));
  const McHandle<Mask> removed = group->removeMask("a");
  EXPECT_EQ(removed->name(), "a");
  EXPECT_EQ(removed->parent(), nullptr);
  EXPECT_EQ(group->size(), 0U);
}

TEST_F(GroupTest, ReplacingKeepsThePosition) {
  for (const char* name : {"a", "b", "c"}) group->addMask(member(name));
  const McHandle<Mask> former = group->replaceMask("b", member("new"));
  EXPECT_EQ(former->name(), "b");
  EXPECT_EQ(names(), (Names{"a", "new", "c"}));
}

TEST_F(GroupTest, RefusedReplacementPutsTheFormerMemberBack) {
  for (const char* name : {"a", "b", "c"}) group->addMask(member(name));
  const McHandle<Mask> former = group->getMask("b");
  const auto clash = member("c");
  EXPECT_THROW(group->replaceMask("b", clash), McException);
  EXPECT_EQ(names(), (Names{"a", "b", "c"}));
  EXPECT_EQ(former->parent(), group);
}

/// Nobody asks a group without sets when its members are renamed.
TEST_F(GroupTest, ReplacingRefusedForItsNameLosesNoMember) {
  group->addMask(member("a"));
  group->addMask(member("b"));
  group->addMask(member("c"));
  group->getMask("b")->setName("a");
  const auto clash = member("c");
  EXPECT_EQ(refusal([&] { group->replaceMask("a", clash); }), "Mask already inserted inside this group.");
  EXPECT_EQ(names(), (Names{"a", "a", "c"}));
  EXPECT_EQ(refusal([&] { group->replaceMask("x", clash); }), "Mask not found.");
}

TEST_F(GroupTest, ClearRemovesNothing) {
  group->addMask(member("a"));
  const McHandle<Mask> before = group->getGroupMask();
  EXPECT_TRUE(group->clear().empty());
  EXPECT_EQ(names(), Names{"a"});
  EXPECT_NE(group->getGroupMask(), before);
}

TEST_F(GroupTest, EmptyGroupHasNoGroupMask) {
  EXPECT_EQ(group->getGroupMask(), nullptr);
}

TEST_F(GroupTest, GroupMaskOfOneMemberEqualsIt) {
  const auto only = member("a", {1, 4, 2, 3, 0, 6});
  group->addMask(only);
  Mask* merged = group->getGroupMask();
  EXPECT_EQ(merged->name(), "group-merged-masks");
  EXPECT_EQ(bitsOf(*merged), bitsOf(*only));
  EXPECT_EQ(merged->color(false), McColor(0, 1, 0));
}

TEST_F(GroupTest, GroupMaskIsTheUnionOfTheMembers) {
  group->addMask(member("a", {0, 3, 0, 3, 0, 3}));
  group->addMask(member("b", {2, 5, 2, 5, 2, 5}));
  group->addMask(member("c", {12, 12, 10, 10, 6, 6}));
  EXPECT_EQ(count(*group->getGroupMask()), 64U + 64U - 8U + 1U);
}

TEST_F(GroupTest, GroupMaskCarriesTheParametersOfTheGroup) {
  const auto only = member("a");
  only->setProperty("side", "right");
  group->addMask(only);
  group->setProperty("side", "left");
  group->setColormapRange({2, 3});
  Mask* merged = group->getGroupMask();
  EXPECT_EQ(merged->stringProperty("side", false), "left");
  EXPECT_EQ(merged->colormapRange(false), std::make_pair(2.0F, 3.0F));
  EXPECT_NE(merged->id(), group->id());
}

TEST_F(GroupTest, GroupMaskIsKeptUntilAMemberEntersOrLeaves) {
  group->addMask(member("a", {0, 0, 0, 0, 0, 0}));
  const McHandle<Mask> first = group->getGroupMask();
  fill(*group->getMask("a"), {5, 5, 5, 5, 5, 5});
  EXPECT_EQ(group->getGroupMask(), first);
  EXPECT_EQ(count(*first), 1U);
  group->addMask(member("b"));
  const McHandle<Mask> second = group->getGroupMask();
  EXPECT_NE(second, first);
  EXPECT_EQ(count(*second), 2U);
  group->removeMask("b");
  EXPECT_NE(group->getGroupMask(), second);
}

TEST_F(GroupTest, SetCountsMembersAsItsOwn) {
  const McHandle<ListeningRois> rois = new ListeningRois;
  group->addMask(member("a"));
  rois->addRoi(group);
  EXPECT_EQ(rois->getNumberOfMasks(), 1U);
  group->addMask(member("b"));
  EXPECT_EQ(rois->getMask("b"), group->getMask("b"));
  group->removeMask("a");
  EXPECT_EQ(rois->getMask("a"), nullptr);
  EXPECT_EQ(rois->getNumberOfMasks(), 1U);
}

TEST_F(GroupTest, MemberThatASetRefusesIsTakenBackFromTheOthers) {
  const McHandle<ListeningRois> one = new ListeningRois;
  const McHandle<ListeningRois> two = new ListeningRois;
  one->addRoi(group);
  two->addRoi(group);
  HxRois* last = *group->owners().rbegin();
  HxRois* first = *group->owners().begin();
  last->addRoi(member("taken"));
  const auto refused = member("taken");
  EXPECT_THROW(group->addMask(refused), McException);
  EXPECT_EQ(first->getMask("taken"), nullptr);
  EXPECT_EQ(group->size(), 0U);
  EXPECT_EQ(refused->parent(), nullptr);
  EXPECT_TRUE(refused->owners().empty());
}

TEST_F(GroupTest, FullSetRefusesAMember) {
  const McHandle<ListeningRois> rois = new ListeningRois;
  rois->setLabel("atlas");
  rois->addRoi(group);
  for (int i = 0; i < 100; ++i) group->addMask(member("m" + std::to_string(i)));
  const auto refused = member("more");
  EXPECT_EQ(refusal([&] { group->addMask(refused); }),
            "There is already 100 masks inside atlas. No more mask can be inserted.");
  EXPECT_EQ(group->size(), 100U);
  EXPECT_EQ(rois->getNumberOfMasks(), 100U);
}

TEST_F(GroupTest, GroupWithARefusedMemberDoesNotEnterTheSet) {
  const McHandle<ListeningRois> rois = new ListeningRois;
  rois->addRoi(member("b"));
  group->addMask(member("a"));
  group->addMask(member("b"));
  EXPECT_THROW(rois->addRoi(group), McException);
  EXPECT_TRUE(group->owners().empty());
  EXPECT_TRUE(group->getMask("a")->owners().empty());
  EXPECT_EQ(rois->getMask("a"), nullptr);
  EXPECT_EQ(rois->getNumberOfMasks(), 1U);
}

TEST_F(GroupTest, GroupLeavesTheSetWithItsMembers) {
  const McHandle<ListeningRois> rois = new ListeningRois;
  group->addMask(member("a"));
  rois->addRoi(group);
  rois->removeRoi("group");
  EXPECT_EQ(rois->getNumberOfMasks(), 0U);
  EXPECT_TRUE(group->owners().empty());
  EXPECT_TRUE(group->getMask("a")->owners().empty());
}

TEST_F(GroupTest, EnteringAndLeavingTellTheMemberWhatItShowsNow) {
  const McHandle<ListeningRois> rois = new ListeningRois;
  const auto mask = member("a");
  group->setColormapRange({5, 6});
  rois->addRoi(mask);
  rois->touches.clear();
  group->addMask(mask);
  EXPECT_EQ(rois->touches, (std::vector<unsigned int>{128, 32}));
  rois->touches.clear();
  group->removeMask("a");
  EXPECT_EQ(rois->touches, (std::vector<unsigned int>{128, 32}));
}

TEST_F(GroupTest, MemberThatShowsTheSameIsNotTold) {
  const McHandle<ListeningRois> rois = new ListeningRois;
  const auto mask = member("a");
  mask->setColor(McColor(0, 1, 0));
  rois->addRoi(mask);
  rois->touches.clear();
  group->addMask(mask);
  EXPECT_TRUE(rois->touches.empty());
}

TEST_F(GroupTest, MembersTouchTheSetOfTheirGroup) {
  const McHandle<ListeningRois> rois = new ListeningRois;
  rois->addRoi(group);
  rois->touches.clear();
  group->addMask(member("a"));
  EXPECT_EQ(rois->touches, (std::vector<unsigned int>{8, 128}));
}

TEST_F(GroupTest, SurvivingMembersForgetADeadGroup) {
  const auto mask = member("a");
  {
    const McHandle<Group> mortal = new Group("mortal", McColor(1, 0, 0), nullptr);
    mortal->addMask(mask);
  }
  EXPECT_EQ(mask->parent(), nullptr);
  EXPECT_EQ(mask->color(true), mask->color(false));
}

TEST_F(GroupTest, EnteringAndLeavingTellTheMemberOfAnotherColormap) {
  const McHandle<HxColormap> colormap = new HxColormap;
  const McHandle<ListeningRois> rois = new ListeningRois;
  const auto mask = member("a");
  mask->setColor(group->color(false));
  group->setColormap(colormap);
  rois->addRoi(mask);
  rois->touches.clear();
  group->addMask(mask);
  EXPECT_EQ(rois->touches, std::vector<unsigned int>{2048});
  EXPECT_EQ(mask->colormap(true), colormap);
  EXPECT_EQ(mask->colormap(false), nullptr);
  rois->touches.clear();
  group->removeMask("a");
  EXPECT_EQ(rois->touches, std::vector<unsigned int>{2048});
  group->setColormap(nullptr);
}

TEST_F(GroupInSets, UndoThatFailsInOneSetIsDoneInTheOthers) {
  const McHandle<StubbornMask> mask = new StubbornMask("a");
  mask->notEntered = sets[2];
  mask->notLeft = sets[0];
  EXPECT_EQ(refusal([&] { group->addMask(mask); }), "does not enter");
  EXPECT_EQ(sets[0]->getMask("a"), mask);
  EXPECT_EQ(sets[1]->getMask("a"), nullptr);
  EXPECT_EQ(mask->owners(), Roi::Owners{sets[0]});
  EXPECT_EQ(group->size(), 0U);
  EXPECT_THAT(console.consoleText(), ::testing::HasSubstr("could not be undone: does not leave"));
  mask->notLeft = nullptr;
  sets[0]->notifyRoiRemove("a");
}

TEST_F(GroupInSets, MemberThatOneSetDoesNotLetGoStaysInAll) {
  const McHandle<StubbornMask> mask = new StubbornMask("a");
  group->addMask(mask);
  mask->notLeft = sets[2];
  EXPECT_EQ(refusal([&] { group->removeMask("a"); }), "does not leave");
  for (const HxRois* set : sets) EXPECT_EQ(set->getMask("a"), mask);
  EXPECT_EQ(group->getMask("a"), mask);
  EXPECT_EQ(mask->parent(), group);
  mask->notLeft = nullptr;
}

TEST_F(GroupInSets, GroupWithAMemberThatDoesNotLeaveStaysInTheSet) {
  const McHandle<StubbornMask> mask = new StubbornMask("b");
  const auto first = member("a");
  group->addMask(first);
  group->addMask(mask);
  mask->notLeft = sets[1];
  EXPECT_EQ(refusal([&] { group->notifyRemovedFromHxRois(sets[1]); }), "does not leave");
  EXPECT_EQ(sets[1]->getMask("a"), first);
  EXPECT_EQ(sets[1]->getMask("b"), mask);
  EXPECT_EQ(group->owners().count(sets[1]), 1U);
  EXPECT_EQ(first->owners().count(sets[1]), 1U);
  mask->notLeft = nullptr;
}

TEST_F(GroupTest, IsEnteredInASetOnlyOnce) {
  const McHandle<HxRois> rois = new HxRois;
  rois->setLabel("%2");
  group->addMask(member("a"));
  rois->addRoi(group);
  EXPECT_EQ(refusal([&] { group->notifyAddedToHxRois(rois); }), "group has already been inserted inside HxRois %2.");
  EXPECT_EQ(rois->getNumberOfMasks(), 1U);
  const McHandle<HxRois> other = new HxRois;
  other->setLabel("other");
  EXPECT_EQ(refusal([&] { group->notifyRemovedFromHxRois(other); }),
            "group has never been inserted inside HxRois other.");
  EXPECT_EQ(group->owners(), Roi::Owners{rois});
  EXPECT_EQ(group->getMask("a")->owners(), Roi::Owners{rois});
}

TEST_F(GroupTest, MemberThatLeavesTellsTheSetOfItsContentOnly) {
  const McHandle<ListeningRois> rois = new ListeningRois;
  group->addMask(new Mask("a", {13, 11, 7}, false, McColor(0, 1, 0), nullptr));
  rois->addRoi(group);
  rois->touches.clear();
  group->removeMask("a");
  EXPECT_EQ(rois->touches, std::vector<unsigned int>{8});
}

TEST_F(GroupTest, MemberOfTwoGroupsKeepsTheLaterParent) {
  const auto mask = member("a");
  McHandle<Group> first = new Group("first", McColor(0, 0, 1), nullptr);
  first->addMask(mask);
  group->addMask(mask);
  first.reset();
  EXPECT_EQ(mask->parent(), group);
}

TEST_F(GroupTest, RenamingToTheNameOfAMemberIsRefused) {
  const McHandle<HxRois> rois = new HxRois;
  rois->setLabel("atlas");
  group->addMask(member("a"));
  rois->addRoi(group);
  EXPECT_EQ(refusal([&] { group->setName("a"); }),
            "A roi named a has already been inserted inside this HxRois (atlas).");
  EXPECT_EQ(refusal([&] { group->getMask("a")->setName("group"); }),
            "A roi named group has already been inserted inside this HxRois (atlas).");
  EXPECT_EQ(rois->getGroup("group"), group);
  EXPECT_EQ(rois->getMask("a"), group->getMask("a"));
}

TEST_F(GroupTest, MembersGetTheUnitExtent) {
  const McHandle<HxRois> rois = new HxRois;
  group->addMask(member("a"));
  rois->addRoi(group);
  const SbBox3f extent = group->getMask("a")->volumeMask()->extent();
  EXPECT_EQ(extent, SbBox3f(SbVec3f(0, 0, 0), SbVec3f(1, 1, 1)));
}

TEST_F(GroupInSets, SetsAreToldAndUndoneInOneOrder) {
  const McHandle<StubbornMask> mask = new StubbornMask("a");
  mask->notEntered = sets[2];
  EXPECT_EQ(refusal([&] { group->addMask(mask); }), "does not enter");
  EXPECT_EQ(mask->left, (std::vector<const HxRois*>{sets[0], sets[1]}));
  mask->notEntered = nullptr;
  mask->left.clear();
  group->addMask(mask);
  mask->notLeft = sets[2];
  EXPECT_EQ(refusal([&] { group->removeMask("a"); }), "does not leave");
  EXPECT_EQ(mask->left, (std::vector<const HxRois*>{sets[0], sets[1]}));
  mask->notLeft = nullptr;
}
