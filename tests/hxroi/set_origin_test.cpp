#include "SetStateTest.h"

/// Two who have loaded one set and save it, one after the other.

using ::testing::HasSubstr;

namespace {

class SetOriginTest : public SetStateTest {
protected:
  SetOriginTest() {
    fillSet();
    EXPECT_EQ(save(), 1);
    rois = load(file);
    other = load(file);
  }

  int saveOther() { return other->writeQuarnMesh(file.c_str()); }

  /// What the other one saved stays, and so do the changes here.
  void expectRefused() {
    const State before = stateOnDisk();
    const State own = stateOf(*rois);
    rois->touch(8);
    console.clear();
    EXPECT_EQ(save(), 0);
    EXPECT_THAT(console.consoleText(), HasSubstr(": was changed by somebody else since this set was loaded or saved"));
    EXPECT_TRUE(rois->isModified());
    EXPECT_EQ(stateOnDisk(), before);
    EXPECT_EQ(stateOf(*rois), own);
    EXPECT_EQ(litter({"A", "B", "C", "D", "E"}), std::vector<std::string>());
  }

  McHandle<HxRois> other;
};

TEST_F(SetOriginTest, VoxelsThatSomebodyElseSavedAreNotReplaced) {
  fill(*other->getMask("A"), {6, 6, 6}, {1, 1, 1});
  ASSERT_EQ(saveOther(), 1);
  fill(*rois->getMask("B"), {0, 0, 0}, {1, 1, 1});
  expectRefused();
  EXPECT_THAT(console.consoleText(), HasSubstr((masks / "A.ldm").string()));
  EXPECT_EQ(count(*load(file)->getMask("A")), 126U);
}

TEST_F(SetOriginTest, MasksThatSomebodyElseAddedAreNotLost) {
  other->addRoi(makeMask("E"));
  ASSERT_EQ(saveOther(), 1);
  fill(*rois->getMask("B"), {0, 0, 0}, {1, 1, 1});
  expectRefused();
  EXPECT_THAT(console.consoleText(), HasSubstr(file.string() + ": was changed"));
  EXPECT_NE(load(file)->getMask("E"), nullptr);
}

TEST_F(SetOriginTest, ItIsTheSameFileByAnotherPath) {
  other->parameters.set("Note", "of the other");
  ASSERT_EQ(saveOther(), 1);
  fs::create_directory_symlink(folder, folder / "link");
  EXPECT_EQ(rois->writeQuarnMesh((folder / "link" / "set.ROIs.qm").c_str()), 0);
  EXPECT_THAT(contentOf(file), HasSubstr("of the other"));
}

TEST_F(SetOriginTest, AnotherNameOrTheRemovedFileAreWaysOut) {
  other->parameters.set("Note", "of the other");
  ASSERT_EQ(saveOther(), 1);
  rois->parameters.set("Note", "own");
  ASSERT_EQ(save(), 0);
  EXPECT_EQ(rois->writeQuarnMesh((folder / "another.ROIs.qm").c_str()), 1) << console.consoleText();
  EXPECT_EQ(noteOf(load(folder / "another.ROIs.qm")->parameters), "own");
  EXPECT_EQ(saveOther(), 1) << console.consoleText();

  fill(*rois->getMask("A"), {6, 6, 6}, {1, 1, 1});
  fs::remove(file);
  EXPECT_EQ(save(), 1) << console.consoleText();
  EXPECT_EQ(stateOnDisk(), stateOf(*rois));
}

TEST_F(SetOriginTest, ASaveUnderAnotherNameForgetsNothing) {
  ASSERT_EQ(rois->writeQuarnMesh((folder / "another.ROIs.qm").c_str()), 1);
  fill(*other->getMask("A"), {6, 6, 6}, {1, 1, 1});
  ASSERT_EQ(saveOther(), 1);
  EXPECT_EQ(save(), 0);
  EXPECT_EQ(count(*load(file)->getMask("A")), 126U);
}

TEST_F(SetOriginTest, OwnSavesCountAsSeen) {
  for (int i = 0; i < 3; ++i) {
    fill(*rois->getMask("A"), {6, 6, i}, {1, 1, 1});
    rois->parameters.set("Note", i);
    EXPECT_EQ(save(), 1) << console.consoleText();
    EXPECT_EQ(count(*load(file)->getMask("A")), 126U + static_cast<unsigned>(i));
  }
  other->parameters.set("Note", "of the other");
  EXPECT_EQ(saveOther(), 0) << "has seen none of these";
}

TEST_F(SetOriginTest, ASaveWithoutChangesIsSeenBySomebodyElseAsNone) {
  ASSERT_EQ(saveOther(), 1);
  fill(*rois->getMask("A"), {6, 6, 6}, {1, 1, 1});
  EXPECT_EQ(save(), 1) << console.consoleText();
}

TEST_F(SetOriginTest, ASetFromElsewhereTakesThePlaceOfAnother) {
  const fs::path elsewhere = folder / "elsewhere.ROIs.qm";
  ASSERT_EQ(rois->writeQuarnMesh(elsewhere.c_str()), 1);
  rois = load(elsewhere);
  other->parameters.set("Note", "of the other");
  ASSERT_EQ(saveOther(), 1);
  EXPECT_EQ(save(), 1) << console.consoleText();
  EXPECT_EQ(noteOf(load(file)->parameters), "");
}

TEST_F(SetOriginTest, WhatWasRemovedIsNoOtherSet) {
  rois->parameters.set("Note", "own");
  fs::remove_all(masks);
  EXPECT_EQ(save(), 1) << console.consoleText();
  EXPECT_EQ(stateOnDisk(), stateOf(*rois));
}

}  // namespace
