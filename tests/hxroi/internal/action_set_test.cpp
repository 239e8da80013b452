#include <QAction>
#include <QTimer>
#include <QTreeView>
#include <functional>
#include <gmock/gmock.h>
#include <utility>

#include "hxroi/internal/QxRoiTreeViewActionSet.h"
#include "quarn/kernel/widgets/QxParamDialog.h"
#include "tests/hxroi/internal/ActionsTest.h"
#include "tests/support/RecordingProgress.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

namespace {

/// A set that counts how often it is evaluated.
class CountingRois : public HxRois {
public:
  void compute() override {
    ++evaluations;
    HxRois::compute();
  }
  int evaluations = 0;
};

}  // namespace

class ActionSet : public ActionsTest {};

TEST_F(ActionSet, NamesItsActions) {
  fillAndOpen();
  std::vector<QString> texts;
  for (const QAction* action :
       {actions->newMaskAction, actions->renameAction, actions->insertMaskAction, actions->deleteAction,
        actions->editColorAction, actions->editParametersAction, actions->mergeAction, actions->subtractAction,
        actions->invertAction, actions->splitAction, actions->newGroupAction}) {
    texts.push_back(action->text());
    EXPECT_TRUE(action->isEnabled());
  }
  EXPECT_THAT(texts, ElementsAre("New ROI", "Rename", "Insert ROI", "Delete", "Edit Color", "Edit Parameters", "Merge",
                                 "Sub", "Invert ROIs", "Split ROI", "New Group"));
  EXPECT_EQ(actions->paramDialog()->windowTitle(), "ROI Parameters");
  EXPECT_EQ(actions->view(), view.get());
  EXPECT_EQ(actions->parent(), nullptr);
}

TEST_F(ActionSet, RunsCommandsByActions) {
  fillAndOpen();
  select({"a"});
  actions->newMaskAction->trigger();
  expectTree("a ROI0 b group[c d]");
  actions->deleteAction->trigger();
  expectTree("ROI0 b group[c d]");
}

// --- New ROIs -----------------------------------------------------------------------------------------------------

TEST_F(ActionSet, MakesAMaskBehindTheCurrentOne) {
  fillAndOpen();
  select({"c"});
  actions->newMask();
  expectTree("a b group[c ROI0 d]");
  select({"group"});
  actions->newMask();
  expectTree("a b group[c ROI0 d] ROI1");
  EXPECT_EQ(rois->getMask("ROI1")->dimensions(), McVec3i(13, 11, 7));
  EXPECT_TRUE(rois->getMask("ROI1")->empty());
  EXPECT_EQ(rois->getMask("ROI1")->colormap(false), nullptr);
}

TEST_F(ActionSet, MakesAMaskAtTheTopWithoutCurrentOne) {
  fillAndOpen();
  actions->newMask();
  expectTree("ROI0 a b group[c d]");
  actions->insertMask();
  expectTree("ROI1 ROI0 a b group[c d]");
}

TEST_F(ActionSet, InsertsAMaskIntoTheCurrentGroup) {
  fillAndOpen();
  view->selectionModel()->setCurrentIndex(at("group", 1), QItemSelectionModel::Select | QItemSelectionModel::Rows);
  actions->insertMask();
  expectTree("a b group[ROI0 c d]");
  select({"a"});
  actions->insertMask();
  expectTree("a b group[ROI0 c d]");
  EXPECT_THAT(console.errors, IsEmpty());
}

TEST_F(ActionSet, GivesNewRoisTheRangeOfTheField) {
  const McHandle<HxUniformScalarField3> field(new HxUniformScalarField3(McDim3l(13, 11, 7), McPrimType::Uint8));
  fillAndOpen();
  ASSERT_TRUE(rois->portData.connect(field));
  actions->newMask();
  actions->newGroup();
  for (const char* name : {"ROI0", "Group0"}) {
    EXPECT_EQ(rois->getRoi(name)->colormapRange(false), std::make_pair(0.0F, 0.0F)) << name;
  }
}

TEST_F(ActionSet, MakesAGroup) {
  fillAndOpen();
  select({"a"});
  actions->newGroup();
  expectTree("a Group0[] b group[c d]");
  select({"c"});
  actions->newGroup();
  expectTree("a Group0[] b group[c d]");
  EXPECT_THAT(console.errors, IsEmpty());
}

TEST_F(ActionSet, ShowsThatAnEmptySetHasNoGrid) {
  open();
  actions->newMask();
  EXPECT_THAT(console.errors, ElementsAre("Can not query rois dimensions with no mask."));
  expectTree("");
  actions->newGroup();
  expectTree("Group0[]");
}

TEST_F(ActionSet, ShowsThatASetIsFull) {
  fillUp();
  open();
  actions->newMask();
  EXPECT_THAT(console.errors, ElementsAre("There is already 100 masks inside atlas. No more mask can be inserted."));
  EXPECT_EQ(textOf(*model), textOf(*rois));
}

TEST_F(ActionSet, DoesNothingWithoutSet) {
  fillAndOpen();
  model->setupModelData(nullptr);
  for (auto command :
       {&QxRoiTreeViewActionSet::newMask, &QxRoiTreeViewActionSet::renameSelectedRoi,
        &QxRoiTreeViewActionSet::insertMask, &QxRoiTreeViewActionSet::deleteSelectedRoi,
        &QxRoiTreeViewActionSet::editSelectedRoiColor, &QxRoiTreeViewActionSet::editSelectedRoiParameters,
        &QxRoiTreeViewActionSet::parametersChanged, &QxRoiTreeViewActionSet::mergeSelectedRois,
        &QxRoiTreeViewActionSet::subtractSelectedRois, &QxRoiTreeViewActionSet::invertSelectedRoi,
        &QxRoiTreeViewActionSet::splitSelectedRois, &QxRoiTreeViewActionSet::newGroup}) {
    (actions.get()->*command)();
  }
  EXPECT_EQ(model->rowCount(), 0);
  EXPECT_EQ(textOf(*rois), "a b group[c d]");
  EXPECT_THAT(console.errors, IsEmpty());
}

TEST_F(ActionSet, DoesNothingWithoutSelection) {
  fillAndOpen();
  for (auto command : {&QxRoiTreeViewActionSet::renameSelectedRoi, &QxRoiTreeViewActionSet::deleteSelectedRoi,
                       &QxRoiTreeViewActionSet::editSelectedRoiColor, &QxRoiTreeViewActionSet::mergeSelectedRois,
                       &QxRoiTreeViewActionSet::subtractSelectedRois, &QxRoiTreeViewActionSet::invertSelectedRoi,
                       &QxRoiTreeViewActionSet::splitSelectedRois}) {
    (actions.get()->*command)();
  }
  expectTree("a b group[c d]");
  EXPECT_THAT(console.errors, IsEmpty());
}

TEST_F(ActionSet, DoesNothingWithoutView) {
  fillAndOpen();
  view.reset();
  actions->newMask();
  actions->renameSelectedRoi();
  actions->mergeRois("a", {"a", "b"});
  actions->subtractRois("a", "b");
  expectTree("a b group[c d]");
}

// --- Renaming, deleting, colours ----------------------------------------------------------------------------------

TEST_F(ActionSet, EditsTheNameInPlace) {
  fillAndOpen();
  view->selectionModel()->setCurrentIndex(at("d", 2), QItemSelectionModel::Select | QItemSelectionModel::Rows);
  actions->renameSelectedRoi();
  EXPECT_TRUE(view->isPersistentEditorOpen(at("d")) || view->indexWidget(at("d")));
}

TEST_F(ActionSet, EditsTheColorOfTheTopLevelRow) {
  fillAndOpen();
  select({"d"});
  actions->editSelectedRoiColor();
  EXPECT_TRUE(view->indexWidget(at("b", 1)));
  EXPECT_FALSE(view->indexWidget(at("d", 1)));
}

TEST_F(ActionSet, DeletesTheCurrentRoi) {
  fillAndOpen();
  select({"a", "c"});
  actions->deleteSelectedRoi();
  expectTree("a b group[d]");
  select({"group"});
  actions->deleteSelectedRoi();
  expectTree("a b");
  EXPECT_EQ(rois->getRoi("d"), nullptr);
}

TEST_F(ActionSet, ShowsThatARoiDoesNotLeave) {
  fillAndOpen();
  const McHandle<Roi> a = rois->removeRoi("a");
  select({"a"});
  actions->deleteSelectedRoi();
  EXPECT_THAT(console.errors, ElementsAre("No roi named a has been inserted inside this HxRois (atlas)."));
}

TEST_F(ActionSet, InvertsTheCurrentMaskAlone) {
  Mask* a = addFilled("a", {0, 0, 0}, {1, 1, 1});
  Mask* b = addFilled("b", {0, 0, 0}, {1, 1, 1});
  rois->addRoi(makeGroup("group", {"c"}));
  open();
  select({"b", "a"});
  actions->invertSelectedRoi();
  EXPECT_EQ(count(*a), 13U * 11 * 7 - 1);
  EXPECT_EQ(count(*b), 1U);
  EXPECT_TRUE(boost::filesystem::exists(a->temporaryPrefix() + ".ldm"));
  select({"group"});
  actions->invertSelectedRoi();
  EXPECT_TRUE(rois->getMask("c")->empty());
  expectTree("a b group[c]");
}

// --- Merge --------------------------------------------------------------------------------------------------------

TEST_F(ActionSet, MergesIntoThePlaceOfTheTarget) {
  addFilled("a", {0, 0, 0}, {1, 1, 1});
  addFilled("b", {2, 0, 0}, {1, 1, 1});
  addFilled("c", {4, 0, 0}, {1, 1, 1});
  addMask("d");
  open();
  select({"a", "b", "c"});
  actions->mergeSelectedRois();
  expectTree("c-merged d");
  EXPECT_EQ(count(*rois->getMask("c-merged")), 3U);
}

TEST_F(ActionSet, MergesAcrossGroups) {
  fillAndOpen();
  actions->mergeRois("c", {"b", "c"});
  expectTree("a group[c-merged d]");
  actions->mergeRois("a", {"d", "a"});
  expectTree("a-merged group[c-merged]");
}

TEST_F(ActionSet, TellsSourcesApartByTheirRowsAlone) {
  fillAndOpen();
  // "a" and "c" both are in a row 0: the later one counts.
  actions->mergeRois("b", {"a", "c", "b"});
  expectTree("a b-merged group[d]");
}

TEST_F(ActionSet, LeavesATargetThatIsNoSource) {
  fillAndOpen();
  actions->mergeRois("b", {"a", "d"});
  expectTree("b-merged b group[c]");
}

TEST_F(ActionSet, MergesNothingWithFewerThanTwo) {
  fillAndOpen();
  select({"a"});
  actions->mergeSelectedRois();
  actions->mergeRois("a", QStringList{});
  actions->mergeRois("nobody", {"a", "b"});
  expectTree("a b group[c d]");
  EXPECT_THAT(console.errors, IsEmpty());
}

TEST_F(ActionSet, ShowsThatAGroupIsNotMerged) {
  fillAndOpen();
  select({"group", "a"});
  actions->mergeSelectedRois();
  EXPECT_THAT(console.errors, ElementsAre("atlas does not contains a mask named group."));
  EXPECT_EQ(refusalOf([&] {
              actions->mergeRois("a", {"a", "nobody"});
            }),
            "atlas does not contains a mask named atlas.");
  expectTree("a b group[c d]");
}

TEST_F(ActionSet, MergesInAFullSet) {
  fillUp();
  open();
  select({"m98", "m3", "m1"});
  actions->mergeSelectedRois();
  EXPECT_THAT(console.errors, IsEmpty());
  EXPECT_THAT(textOf(*rois), StartsWith("m0 m1-merged m2 m4 "));
  EXPECT_EQ(textOf(*model), textOf(*rois));
  EXPECT_EQ(rois->getNumberOfMasks(), 98U);
}

TEST_F(ActionSet, LosesNothingWhenAMergeIsRefused) {
  fillAndOpen();
  const McHandle<HxRois> other(new HxRois);
  other->setLabel("other");
  other->addRoi(rois->getRoi("group"));
  other->addRoi(makeMask("c-merged"));
  log->take();
  actions->mergeRois("c", {"a", "c"});
  EXPECT_THAT(console.errors,
              ElementsAre("A roi named c-merged has already been inserted inside this HxRois (other)."));
  expectTree("a b group[c d]");
}

TEST_F(ActionSet, LosesNothingWhenAMergeIntoAFullSetIsRefused) {
  rois->addRoi(makeGroup("group", {"x"}));
  fillUp();
  open();
  const McHandle<HxRois> other(new HxRois);
  other->setLabel("other");
  other->addRoi(rois->getRoi("group"));
  other->addRoi(makeMask("x-merged"));
  const std::string before = textOf(*rois);
  item("m5")->setVisible(false);
  const McHandle<Roi> source = rois->getRoi("m5");
  const McHandle<HxColormap> colormap(new HxColormap);
  source->setColormap(colormap);
  source->setColormapRange({2.0F, 3.0F});
  source->setProperty("organ", "liver");
  actions->mergeRois("x", {"m5", "x"});
  EXPECT_THAT(errors(), ElementsAre(StartsWith("A roi named x-merged")));
  expectTree(before);
  EXPECT_FALSE(item("m5")->isVisible(false));
  EXPECT_EQ(rois->getRoi("m5"), source.get());
  EXPECT_EQ(source->colormap(false), colormap.get());
  EXPECT_EQ(source->colormapRange(false), (std::pair<float, float>{2.0F, 3.0F}));
  EXPECT_EQ(source->stringProperty("organ", false), "liver");
}

TEST_F(ActionSet, MergesNoOtherRoiOfTheSameName) {
  fillAndOpen();
  rois->removeRoi("a");
  const McHandle<Mask> later = addMask("a");
  const std::string before = textOf(*rois);
  EXPECT_THAT(refusalOf([&] { actions->mergeRois("b", {"a", "b"}); }), StartsWith("The roi named a inside atlas"));
  EXPECT_THAT(refusalOf([&] { actions->subtractRois("b", "a"); }), StartsWith("The roi named a inside atlas"));
  EXPECT_EQ(textOf(*rois), before);
  EXPECT_EQ(rois->getMask("a"), later.get());
}

TEST_F(ActionSet, MergesNoRoiThatStandsElsewhereByNow) {
  fillAndOpen();
  rois->addRoi(group("group")->removeMask("c"));
  const std::string before = textOf(*rois);
  const char* const refusal = "The roi named c does not stand in group any more.";
  EXPECT_EQ(refusalOf([&] { actions->mergeRois("b", {"a", "c", "b"}); }), refusal);
  EXPECT_EQ(refusalOf([&] { actions->mergeRois("c", {"a", "c"}); }), refusal);
  EXPECT_EQ(refusalOf([&] { actions->subtractRois("b", "c"); }), refusal);
  EXPECT_EQ(textOf(*rois), before);
  EXPECT_EQ(textOf(*model), "a b group[c d]");
}

// --- Subtract -----------------------------------------------------------------------------------------------------

TEST_F(ActionSet, SubtractsFromTheTarget) {
  addFilled("a", {0, 0, 0}, {1, 1, 1});
  addFilled("b", {0, 0, 0}, {3, 1, 1});
  open();
  select({"a", "b"});
  actions->subtractSelectedRois();
  expectTree("b-substracted");
  EXPECT_EQ(count(*rois->getMask("b-substracted")), 2U);
}

TEST_F(ActionSet, SubtractsAcrossGroups) {
  fillAndOpen();
  actions->subtractRois("a", "d");
  expectTree("a-substracted b group[c]");
  actions->subtractRois("c", "b");
  expectTree("a-substracted group[c-substracted]");
}

TEST_F(ActionSet, SubtractsOneFromOneOnly) {
  fillAndOpen();
  select({"a", "b", "c"});
  actions->subtractSelectedRois();
  select({"a"});
  actions->subtractSelectedRois();
  actions->subtractRois("nobody", "a");
  expectTree("a b group[c d]");
  EXPECT_EQ(refusalOf([&] { actions->subtractRois("a", "group"); }), "atlas does not contains a mask named group.");
  expectTree("a b group[c d]");
}

TEST_F(ActionSet, SubtractsInAFullSet) {
  fillUp();
  open();
  actions->subtractRois("m1", "m0");
  EXPECT_THAT(textOf(*rois), StartsWith("m1-substracted m2 "));
  EXPECT_EQ(textOf(*model), textOf(*rois));
}

TEST_F(ActionSet, EvaluatesTheSetAfterASubtraction) {
  auto* counting = new CountingRois;
  rois = counting;
  fillAndOpen();
  const int before = counting->evaluations;
  actions->subtractRois("a", "b");
  EXPECT_EQ(counting->evaluations, before + 1);
}

// --- Split --------------------------------------------------------------------------------------------------------

TEST_F(ActionSet, SplitsIntoThePlaceOfTheMask) {
  fillSet();
  fill(*rois->getMask("b"), {0, 0, 0}, {1, 1, 1});
  fill(*rois->getMask("b"), {2, 0, 0}, {1, 1, 1});
  fill(*rois->getMask("b"), {4, 0, 0}, {2, 1, 1});
  open();
  select({"b"});
  actions->splitSelectedRois();
  expectTree("a b-splitted-component0 b-splitted-component1 b-splitted-component2 group[c d]");
  EXPECT_EQ(count(*rois->getMask("b-splitted-component2")), 2U);
}

TEST_F(ActionSet, SplitsInsideAGroup) {
  fillSet();
  fill(*rois->getMask("c"), {0, 0, 0}, {1, 1, 1});
  fill(*rois->getMask("c"), {2, 0, 0}, {1, 1, 1});
  open();
  select({"c"});
  actions->splitSelectedRois();
  expectTree("a b group[c-splitted-component0 c-splitted-component1 d]");
}

TEST_F(ActionSet, SplitsNothingEmptyAndNoGroup) {
  fillAndOpen();
  select({"a"});
  actions->splitSelectedRois();
  select({"group"});
  actions->splitSelectedRois();
  expectTree("a b group[c d]");
  EXPECT_THAT(console.errors, IsEmpty());
}

TEST_F(ActionSet, SplitsNothingInAFullSet) {
  fillUp();
  rois->setLabel("set %2");
  fill(*rois->getMask("m0"), {0, 0, 0}, {1, 1, 1});
  open();
  select({"m0"});
  actions->splitSelectedRois();
  EXPECT_THAT(console.errors, ElementsAre("set %2 has already reached the maximum number of allowed masks (100). "
                                          "Cannot split."));
  EXPECT_EQ(rois->getNumberOfMasks(), 100U);
}

TEST_F(ActionSet, SplitsIntoTheLastFreePlaces) {
  fillUp(98);
  Mask* mask = rois->getMask("m1");
  for (int x = 0; x < 4; x += 2) fill(*mask, {x, 0, 0}, {1, 1, 1});
  open();
  select({"m1"});
  actions->splitSelectedRois();
  EXPECT_THAT(console.errors, IsEmpty());
  EXPECT_THAT(textOf(*rois), StartsWith("m0 m1-splitted-component0 m1-splitted-component1 m2 "));
  EXPECT_EQ(textOf(*model), textOf(*rois));
  EXPECT_EQ(rois->getNumberOfMasks(), 99U);
}

// One piece would have a place, but the mask with the rest has none while the source is there.
TEST_F(ActionSet, LosesNothingWhenTheRestOfASplitHasNoPlace) {
  fillUp(99);
  const McHandle<Mask> mask = rois->getMask("m1");
  for (int x = 0; x < 6; x += 2) fill(*mask, {x, 0, 0}, {1, 1, 1});
  const McHandle<HxColormap> colormap(new HxColormap);
  mask->setColormap(colormap);
  open();
  select({"m1"});
  const std::string before = textOf(*rois);
  actions->splitSelectedRois();
  EXPECT_THAT(console.errors, ElementsAre("There is already 100 masks inside atlas. No more mask can be inserted."));
  expectTree(before);
  EXPECT_EQ(rois->getMask("m1"), mask.get());
  EXPECT_EQ(count(*mask), 3U);
  EXPECT_EQ(mask->colormap(false), colormap.get());
}

TEST_F(ActionSet, KeepsTheMaskWhenASplitIsInterrupted) {
  fillSet();
  for (int x = 0; x < 12; x += 2) fill(*rois->getMask("b"), {x, 0, 0}, {1, 1, 1});
  const std::size_t voxels = count(*rois->getMask("b"));
  open();
  select({"b"});
  int interrupted = 0;
  for (int i = 0; i < 12; ++i) {
    RecordingProgress progress;
    const ProgressScope scope(progress);
    progress.interruptAfter = i;
    actions->splitSelectedRois();
    if (progress.interruptAfter >= 0) break;
    ++interrupted;
    expectTree("a b group[c d]");
    EXPECT_EQ(count(*rois->getMask("b")), voxels);
  }
  EXPECT_GT(interrupted, 0);
}

TEST_F(ActionSet, KeepsTheMaskWhenAPieceIsRefused) {
  fillSet();
  for (int x = 0; x < 6; x += 2) fill(*rois->getMask("c"), {x, 0, 0}, {1, 1, 1});
  open();
  const McHandle<HxRois> other(new HxRois);
  other->setLabel("other");
  other->addRoi(rois->getRoi("group"));
  other->addRoi(makeMask("c-splitted-component1"));
  select({"c"});
  actions->splitSelectedRois();
  EXPECT_THAT(errors(), ElementsAre(StartsWith("A roi named c-splitted-component1")));
  expectTree("a b group[c d]");
}

// --- Events during a command ---------------------------------------------------------------------------------------

namespace {

/// Does something while a command is at work.
class MeddlingProgress : public RecordingProgress {
public:
  explicit MeddlingProgress(std::function<void()> meddle) : meddle_(std::move(meddle)) {}
  bool isInterrupted() override {
    if (meddle_) std::exchange(meddle_, {})();
    return false;
  }

private:
  std::function<void()> meddle_;
};

}  // namespace

class ActionSetWhileSplitting : public ActionSet {
protected:
  void split(std::function<void()> meddle) {
    fillSet();
    for (int x = 0; x < 6; x += 2) fill(*rois->getMask("b"), {x, 0, 0}, {1, 1, 1});
    open();
    select({"b"});
    MeddlingProgress progress(std::move(meddle));
    const ProgressScope scope(progress);
    actions->splitSelectedRois();
  }
};

TEST_F(ActionSetWhileSplitting, RefusesOtherCommands) {
  bool hasMeddled = false;
  split([&] {
    hasMeddled = true;
    actions->deleteSelectedRoi();
    actions->newMask();
    actions->splitSelectedRois();
    actions->renameSelectedRoi();
  });
  EXPECT_TRUE(hasMeddled);
  expectTree("a b-splitted-component0 b-splitted-component1 b-splitted-component2 group[c d]");
}

TEST_F(ActionSetWhileSplitting, WritesParameters) {
  split([this] {
    select({"a", "c"});
    actions->editSelectedRoiParameters();
    actions->paramDialog()->bundle()->set("size", 7);
    actions->parametersChanged();
  });
  EXPECT_EQ(rois->getRoi("a")->intProperty("size", false), 7);
  EXPECT_EQ(rois->getRoi("c")->intProperty("size", false), 7);
  EXPECT_FALSE(rois->isNew());
}

TEST_F(ActionSetWhileSplitting, DropsThePiecesOfAMaskThatIsGone) {
  split([this] { delete model->removeRoi(1, {}, true); });
  expectTree("a group[c d]");
}

TEST_F(ActionSetWhileSplitting, FollowsAMaskThatMoves) {
  split([this] { model->insertRoi(0, makeMask("new"), {}, true); });
  expectTree("new a b-splitted-component0 b-splitted-component1 b-splitted-component2 group[c d]");
}

TEST_F(ActionSetWhileSplitting, SurvivesTheEndOfTheSet) {
  split([this] { rois.reset(); });
  EXPECT_EQ(model->rowCount(), 0);
}

TEST_F(ActionSetWhileSplitting, SurvivesTheEndOfTheModel) {
  split([this] {
    log.reset();
    watch.reset();
    model.reset();
  });
  EXPECT_EQ(textOf(*rois), "a b group[c d]");
}
