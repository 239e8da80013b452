#include <QAction>
#include <QtTest/QTest>
#include <gmock/gmock.h>
#include <optional>

#include "hxroi/HxPortRoiTreeView.h"
#include "hxroi/internal/QxRoiTreeViewMoreActions.h"
#include "quarn/kernel/app/HxColorDialog.h"
#include "quarn/kernel/ports/HxConnection.h"
#include "tests/hxroi/internal/ActionsTest.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

class MoreActions : public ActionsTest {
protected:
  ~MoreActions() override { HxColorDialog::setChooser({}); }

  void fillAndOpenMore(QxRoiTreeModel::RoiModule kind = QxRoiTreeModel::FULL_MODULE) {
    fillSet();
    openMore(kind);
  }

  void openMore(QxRoiTreeModel::RoiModule kind = QxRoiTreeModel::FULL_MODULE) {
    open(kind);
    more = new QxRoiTreeViewMoreActions(actions.get());
    more->addShortcuts();
  }

  /// "i" intersect, "x" exclusive or, "d" delete, "c" colours, "s" show only, "g" group, as far as enabled.
  std::string enabledFor(const std::vector<const char*>& names) {
    select(names);
    more->enableForSelection();
    std::string text;
    const std::pair<char, const QAction*> all[] = {{'i', more->intersectAction},  {'x', more->exclusiveOrAction},
                                                   {'d', more->deleteRowsAction}, {'c', more->editColorsAction},
                                                   {'s', more->showOnlyAction},   {'g', more->groupAction}};
    for (const auto& [letter, action] : all) {
      if (action->isEnabled()) text += letter;
    }
    return text;
  }

  /// The names of what is visible, without regard to groups.
  std::string visible() const {
    std::string text;
    for (const char* name : {"a", "b", "group", "c", "d"}) {
      if (item(name)->isVisible(false)) text += std::string(text.empty() ? "" : " ") + name;
    }
    return text;
  }

  void press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
    view->show();
    view->setFocus();
    ASSERT_TRUE(QTest::qWaitForWindowActive(view.get()));
    QTest::keyClick(view.get(), key, modifiers);
  }

  QxRoiTreeViewMoreActions* more = nullptr;
};

TEST_F(MoreActions, AreNamed) {
  fillAndOpenMore();
  EXPECT_EQ(more->intersectAction->text(), "Intersect");
  EXPECT_EQ(more->exclusiveOrAction->text(), "Exclusive Or");
  EXPECT_EQ(more->deleteRowsAction->text(), "Delete ROIs\tDel");
  EXPECT_EQ(more->editColorsAction->text(), "Edit Colors");
  EXPECT_EQ(more->showOnlyAction->text(), "Show Only This");
  EXPECT_EQ(more->groupAction->text(), "Group ROIs\tCtrl+G");
  EXPECT_EQ(more->parent(), actions.get());
}

TEST_F(MoreActions, AreEnabledWhereTheyCanWork) {
  fillAndOpenMore();
  EXPECT_EQ(enabledFor({}), "");
  EXPECT_EQ(enabledFor({"a"}), "sg") << "the menu has the others for one";
  EXPECT_EQ(enabledFor({"a", "b"}), "ixdcsg");
  EXPECT_EQ(enabledFor({"c", "d"}), "ixdsg");
  EXPECT_EQ(enabledFor({"group", "c"}), "dcs");
  EXPECT_EQ(enabledFor({"group", "a"}), "dcs");
  openMore(QxRoiTreeModel::SELECTOR_MODULE);
  EXPECT_EQ(enabledFor({"a", "b"}), "s");
}

TEST_F(MoreActions, ChangeNothingInTheTreeOfASelector) {
  fillAndOpenMore(QxRoiTreeModel::SELECTOR_MODULE);
  select({"a", "b"});
  more->intersectSelectedRois();
  more->exclusiveOrSelectedRois();
  more->deleteSelectedRows();
  more->editSelectedColors();
  more->groupSelectedRois();
  expectTree("a b group[c d]");
}

// --- Combining ----------------------------------------------------------------------------------------------------

TEST_F(MoreActions, Intersect) {
  addFilled("a", {0, 0, 0}, {4, 1, 1});
  addFilled("b", {1, 0, 0}, {4, 1, 1});
  addFilled("c", {2, 0, 0}, {4, 1, 1});
  addMask("d");
  openMore();
  select({"a", "c", "b"});
  more->intersectSelectedRois();
  expectTree("b-intersected d");
  EXPECT_EQ(count(*rois->getMask("b-intersected")), 2U);
  EXPECT_TRUE(voxel(*rois->getMask("b-intersected"), 2, 0, 0));
}

TEST_F(MoreActions, ExclusiveOr) {
  addFilled("a", {0, 0, 0}, {3, 1, 1});
  addFilled("b", {1, 0, 0}, {3, 1, 1});
  openMore();
  select({"b", "a"});
  more->exclusiveOrSelectedRois();
  expectTree("a-xored");
  EXPECT_EQ(count(*rois->getMask("a-xored")), 2U);
}

TEST_F(MoreActions, CombineAtTheFirstOneWhenNoneIsCurrent) {
  fillAndOpenMore();
  select({"b", "c"});
  view->selectionModel()->setCurrentIndex(at("a"), QItemSelectionModel::NoUpdate);
  more->intersectSelectedRois();
  expectTree("a b-intersected group[d]");
}

TEST_F(MoreActions, CombineMasksOfOneRowNumber) {
  fillAndOpenMore();
  select({"a", "c"});
  more->exclusiveOrSelectedRois();
  expectTree("b group[c-xored d]");
}

TEST_F(MoreActions, CombineInAFullSet) {
  fillUp();
  openMore();
  select({"m0", "m1"});
  more->intersectSelectedRois();
  EXPECT_THAT(textOf(*rois), StartsWith("m1-intersected m2 "));
  EXPECT_EQ(textOf(*model), textOf(*rois));
}

TEST_F(MoreActions, CombineNoGroups) {
  fillAndOpenMore();
  select({"a", "group"});
  more->intersectSelectedRois();
  more->groupSelectedRois();
  expectTree("a b group[c d]");
}

// --- Deleting and colours -----------------------------------------------------------------------------------------

TEST_F(MoreActions, DeleteAllSelected) {
  fillAndOpenMore();
  select({"d", "a"});
  more->deleteSelectedRows();
  expectTree("b group[c]");
  select({"c", "group"});
  more->deleteSelectedRows();
  expectTree("b");
}

TEST_F(MoreActions, ColorAllSelected) {
  fillAndOpenMore();
  McColor offered;
  HxColorDialog::setChooser([&](const McColor& former) {
    offered = former;
    return McColor(0, 1, 0);
  });
  select({"a", "group", "d"});
  log->take();
  more->editSelectedColors();
  EXPECT_NEAR(offered.r, 0.5, 1e-4);
  EXPECT_EQ(rois->getRoi("a")->color(false), McColor(0, 1, 0));
  EXPECT_EQ(rois->getRoi("group")->color(false), McColor(0, 1, 0));
  EXPECT_EQ(rois->getRoi("b")->color(false), McColor(0.5F, 0.25F, 1));
  EXPECT_EQ(rois->getRoi("d")->color(false), McColor(0.5F, 0.25F, 1));
  EXPECT_THAT(log->take(), ElementsAre("dataChanged group:1"));
}

TEST_F(MoreActions, ColorNothingWhenTheUserGivesUp) {
  fillAndOpenMore();
  HxColorDialog::setChooser([&](const McColor&) -> std::optional<McColor> {
    delete model->removeRoi(0, {}, true);
    return std::nullopt;
  });
  select({"a", "b"});
  more->editSelectedColors();
  EXPECT_EQ(rois->getRoi("b")->color(false), McColor(0.5F, 0.25F, 1));
}

TEST_F(MoreActions, ColorWhatIsStillThere) {
  fillAndOpenMore();
  HxColorDialog::setChooser([&](const McColor&) {
    delete model->removeRoi(0, {}, true);
    return McColor(0, 1, 0);
  });
  select({"a", "b"});
  more->editSelectedColors();
  EXPECT_EQ(rois->getRoi("b")->color(false), McColor(0, 1, 0));
}

TEST_F(MoreActions, TellOfAnIntersectionWithoutVoxels) {
  addFilled("a", {0, 0, 0}, {1, 1, 1});
  addFilled("b", {1, 0, 0}, {1, 1, 1});
  openMore();
  select({"a", "b"});
  more->intersectSelectedRois();
  EXPECT_EQ("b-intersected has no voxels.\n", console.consoleText());
}

// --- Showing ------------------------------------------------------------------------------------------------------

TEST_F(MoreActions, ShowOnlyWhatIsSelected) {
  fillAndOpenMore();
  select({"a"});
  log->take();
  more->showOnlySelectedRois();
  EXPECT_EQ(visible(), "a");
  EXPECT_THAT(log->take(), ElementsAre("dataChanged a:0"));
  select({"c", "b"});
  more->showOnlySelectedRois();
  EXPECT_EQ(visible(), "b group c");
  select({"group"});
  more->showOnlySelectedRois();
  EXPECT_EQ(visible(), "group c d");
  select({});
  more->showOnlySelectedRois();
  EXPECT_EQ(visible(), "group c d");
}

namespace {

/// Chooses ROIs of the set that is connected to it.
class Chooser : public HxData {
public:
  Chooser()
      : portData(this, "data", "Data", HxRois::getClassTypeId()),
        portRois(this, "roiVisibility", "ROIs", HxPortRoiTreeView::SELECTOR_MODULE) {}
  void compute() override { ++evaluations; }

  HxConnection portData;
  HxPortRoiTreeView portRois;
  int evaluations = 0;
};

}  // namespace

TEST_F(MoreActions, ShowOnlyWhatIsSelectedInAllSelectors) {
  fillAndOpenMore(QxRoiTreeModel::ROIS_MODULE);
  EXPECT_EQ(enabledFor({"b"}), "g") << "nobody would show it";
  rois->getRoi("c")->setId("no one word");
  const McHandle<Chooser> first(new Chooser);
  const McHandle<Chooser> second(new Chooser);
  for (const auto& chooser : {first, second}) {
    ASSERT_TRUE(chooser->portData.connect(rois));
    chooser->portRois.setHxRois(rois);
    chooser->evaluations = 0;
  }
  EXPECT_EQ(enabledFor({"b"}), "sg");
  select({"c", "b"});
  more->showOnlySelectedRois();
  for (const auto& chooser : {first, second}) {
    EXPECT_TRUE(chooser->portRois.isRoiVisible("b"));
    EXPECT_TRUE(chooser->portRois.isRoiVisible("c"));
    EXPECT_FALSE(chooser->portRois.isRoiVisible("a"));
    EXPECT_FALSE(chooser->portRois.isRoiVisible("d"));
    EXPECT_GT(chooser->evaluations, 0);
  }
  EXPECT_EQ(visible(), "a b group c d");
}

// --- Grouping -----------------------------------------------------------------------------------------------------

TEST_F(MoreActions, GroupWhatIsSelected) {
  fillAndOpenMore();
  select({"d", "b"});
  more->groupSelectedRois();
  expectTree("a Group0[b d] group[c]");
  EXPECT_EQ(view->currentIndex(), at("Group0"));
  EXPECT_THAT(view->selectionModel()->selectedRows(), ElementsAre(at("Group0")));
}

TEST_F(MoreActions, GroupMembersBeforeTheirFormerGroup) {
  fillAndOpenMore();
  select({"c", "d"});
  more->groupSelectedRois();
  expectTree("a b Group0[c d] group[]");
}

TEST_F(MoreActions, TouchNoOtherRoiOfTheSameName) {
  fillAndOpenMore();
  rois->removeRoi("b");
  addMask("b");
  const std::string before = textOf(*rois);
  select({"a", "b", "c"});
  more->intersectSelectedRois();
  more->deleteSelectedRows();
  EXPECT_THAT(errors(), ElementsAre(StartsWith("The roi named b"), StartsWith("The roi named b")));
  EXPECT_EQ(textOf(*rois), before);
  EXPECT_EQ(textOf(*model), "a b group[c d]");
}

TEST_F(MoreActions, ChangeNothingWhenARoiStandsElsewhereByNow) {
  fillAndOpenMore();
  rois->addRoi(group("group")->removeMask("c"));
  const std::string before = textOf(*rois);
  select({"a", "b", "c"});
  more->intersectSelectedRois();
  more->exclusiveOrSelectedRois();
  more->deleteSelectedRows();
  const std::string refusal = "The roi named c does not stand in group any more.";
  EXPECT_THAT(errors(), ElementsAre(refusal, refusal, refusal));
  EXPECT_EQ(textOf(*rois), before);
  EXPECT_EQ(textOf(*model), "a b group[c d]");
}

TEST_F(MoreActions, SurviveTheEndOfTheCommandsWhileAColourIsChosen) {
  fillAndOpenMore();
  const McColor former = rois->getRoi("a")->color();
  HxColorDialog::setChooser([this](const McColor&) {
    actions.reset();
    return McColor(0, 1, 0);
  });
  select({"a"});
  more->editSelectedColors();
  EXPECT_EQ(rois->getRoi("a")->color(), former);
}

TEST_F(MoreActions, RenameByKeyOnlyTheOneThatIsSelected) {
  fillAndOpenMore();
  select({"a", "b"});
  press(Qt::Key_F2);
  EXPECT_FALSE(view->isPersistentEditorOpen(at("b")));
  view->selectionModel()->clearSelection();
  press(Qt::Key_F2);
  EXPECT_FALSE(view->isPersistentEditorOpen(at("b")));
}

TEST_F(MoreActions, GroupNothingWhenOneIsRefused) {
  fillAndOpenMore();
  const McHandle<HxColormap> colormap(new HxColormap);
  rois->getRoi("a")->setColormap(colormap);
  rois->removeRoi("b");
  addMask("b");
  const std::string before = textOf(*rois);
  select({"a", "b", "c"});
  more->groupSelectedRois();
  EXPECT_THAT(errors(), ElementsAre(StartsWith("The roi named b inside atlas")));
  EXPECT_EQ(textOf(*rois), before);
  EXPECT_EQ(textOf(*model), "a b group[c d]");
  EXPECT_EQ(rois->getRoi("a")->colormap(false), colormap.get());
}

// --- Keys ---------------------------------------------------------------------------------------------------------

TEST_F(MoreActions, HaveKeys) {
  fillAndOpenMore();
  select({"d"});
  press(Qt::Key_Delete);
  expectTree("a b group[c]");
  press(Qt::Key_A, Qt::ControlModifier);
  EXPECT_EQ(view->selectionModel()->selectedRows().size(), 4);
  select({"a", "c"});
  press(Qt::Key_G, Qt::ControlModifier);
  expectTree("Group0[a c] b group[]");
  select({"group"});
  press(Qt::Key_G, Qt::ControlModifier);
  expectTree("Group0[a c] b group[] Group1[]");
  select({"group", "b"});
  press(Qt::Key_G, Qt::ControlModifier);
  expectTree("Group0[a c] b group[] Group1[]");
  select({"b"});
  press(Qt::Key_F2);
  EXPECT_TRUE(view->isPersistentEditorOpen(at("b")));
}
