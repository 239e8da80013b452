#include <QAction>
#include <gmock/gmock.h>

#include "hxroi/HxRoiSelector.h"
#include "hxroi/internal/QxRoiTreeViewMoreActions.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "tests/hxroi/internal/ActionsTest.h"

using ::testing::IsEmpty;

/// Commands that take ROIs away, and what selectors show after them.
class GoneRois : public ActionsTest {
protected:
  void openMore() {
    fillSet();
    open();
    more = new QxRoiTreeViewMoreActions(actions.get());
  }

  /// A selector that shows the masks of these names, with their groups.
  McHandle<HxRoiSelector> selectorOf(const std::vector<const char*>& names) {
    McHandle<HxRoiSelector> selector(new HxRoiSelector);
    HxObjectPool::instance().add(selector, QStringLiteral("shown"));
    EXPECT_TRUE(selector->portData.connect(rois));
    selector->fire(1);
    selector->portRoiVisibility.setAllRoisVisible(false);
    for (const char* name : names) selector->portRoiVisibility.setRoiVisible(true, QString::fromLatin1(name));
    selector->fire(1);
    return selector;
  }

  static std::string shownBy(const HxRoiSelector& selector) {
    std::string text;
    for (const auto* mask : selector.getVisibleMasks()) text += (text.empty() ? "" : " ") + mask->name();
    return text;
  }

  void remove(const std::vector<const char*>& names) {
    select(names);
    more->deleteSelectedRows();
  }

  QxRoiTreeViewMoreActions* more = nullptr;
};

// --- Bringing back ------------------------------------------------------------------------------------------------

TEST_F(GoneRois, ComeBackWhereTheyStoodWithTheirVoxels) {
  addFilled("full", {1, 1, 1}, {2, 2, 2});
  openMore();
  const std::string before = textOf(*rois);
  remove({"full", "c"});
  expectTree("a b group[d]");
  ASSERT_TRUE(actions->hasRemovedRois());
  more->bringBackRemovedRois();
  expectTree(before);
  EXPECT_EQ(count(*rois->getMask("full")), 8U);
  EXPECT_FALSE(actions->hasRemovedRois());
  more->bringBackRemovedRois();
  expectTree(before);
}

TEST_F(GoneRois, AGroupComesBackWithItsMasks) {
  openMore();
  remove({"group"});
  expectTree("a b");
  more->bringBackRemovedRois();
  expectTree("a b group[c d]");
}

TEST_F(GoneRois, MergedOnesComeBackBesideTheMerge) {
  openMore();
  select({"a", "b"});
  actions->mergeSelectedRois();
  expectTree("b-merged group[c d]");
  more->bringBackRemovedRois();
  EXPECT_THAT(errors(), IsEmpty());
  EXPECT_EQ(textOf(*rois), textOf(*model));
  for (const char* name : {"a", "b", "b-merged"}) EXPECT_NE(nullptr, rois->getMask(name)) << name;
}

TEST_F(GoneRois, GetAnotherNameWhereTheirsIsTaken) {
  openMore();
  remove({"a"});
  addMask("a");
  rois->fire(1);
  more->bringBackRemovedRois();
  EXPECT_EQ("a0 b group[c d] a", textOf(*rois));
}

TEST_F(GoneRois, StayWhereThereIsNoRoom) {
  openMore();
  remove({"a"});
  fillUp();
  rois->fire(1);
  more->bringBackRemovedRois();
  EXPECT_FALSE(errors().empty());
  EXPECT_EQ(nullptr, rois->getMask("a"));
  EXPECT_TRUE(actions->hasRemovedRois()) << "for when there is";
}

TEST_F(GoneRois, AreThoseOfTheLastCommandThatRemoved) {
  openMore();
  remove({"a"});
  remove({"b"});
  actions->newGroup();
  more->bringBackRemovedRois();
  EXPECT_EQ(nullptr, rois->getMask("a"));
  EXPECT_NE(nullptr, rois->getMask("b"));
}

TEST_F(GoneRois, AreOfferedAsLongAsThereAreAny) {
  openMore();
  more->enableForSelection();
  EXPECT_FALSE(more->bringBackAction->isEnabled());
  remove({"a"});
  more->enableForSelection();
  EXPECT_TRUE(more->bringBackAction->isEnabled());
  EXPECT_EQ("Bring Back Removed ROIs\tCtrl+Z", more->bringBackAction->text());
}

// --- What is shown ------------------------------------------------------------------------------------------------

TEST_F(GoneRois, AMergeOfWhatIsShownIsShown) {
  openMore();
  const auto all = selectorOf({"a", "b"}), one = selectorOf({"b"});
  select({"a", "b"});
  actions->mergeSelectedRois();
  EXPECT_EQ("b-merged", shownBy(*all));
  EXPECT_EQ("", shownBy(*one)) << "half of it was hidden";
}

TEST_F(GoneRois, WhatIsGroupedStaysShownOrHidden) {
  openMore();
  const auto selector = selectorOf({"a"});
  select({"a", "b"});
  more->groupSelectedRois();
  expectTree("Group0[a b] group[c d]");
  EXPECT_EQ("a", shownBy(*selector));
}

TEST_F(GoneRois, AreShownAgain) {
  openMore();
  const auto selector = selectorOf({"a", "group", "c"});
  remove({"a", "b", "group"});
  EXPECT_EQ("", shownBy(*selector));
  more->bringBackRemovedRois();
  expectTree("a b group[c d]");
  EXPECT_EQ("a c", shownBy(*selector));
}

TEST_F(GoneRois, WhatIsNewIsHiddenAsBefore) {
  openMore();
  const auto selector = selectorOf({"a"});
  select({"a"});
  actions->newMask();
  EXPECT_EQ(5U, rois->getNumberOfMasks());
  EXPECT_EQ("a", shownBy(*selector));
}
