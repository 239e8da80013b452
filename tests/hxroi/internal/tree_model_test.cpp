#include <QColor>
#include <QPersistentModelIndex>
#include <gmock/gmock.h>
#include <memory>

#include "hxroi/internal/QxRoiTreeModel.h"
#include "quarn/kernel/fields/HxColormap.h"
#include "tests/hxroi/internal/TreeTest.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class TreeModel : public TreeTest {};

// --- Building -----------------------------------------------------------------------------------------------------

TEST_F(TreeModel, IsEmptyBeforeItIsSetUp) {
  const QxRoiTreeModel fresh(nullptr, QxRoiTreeModel::ROIS_MODULE);
  EXPECT_EQ(fresh.getRoot(), nullptr);
  EXPECT_EQ(fresh.rowCount(), 0);
  EXPECT_EQ(fresh.columnCount(), 3);
  EXPECT_FALSE(fresh.index(0, 0).isValid());
  EXPECT_FALSE(fresh.headerData(0, Qt::Horizontal).isValid());
  EXPECT_FALSE(fresh.isRoiVisible("a", true));
  fresh.setRoiVisible(true, "a");
  EXPECT_EQ(fresh.treeItemFromName("a"), nullptr);
  EXPECT_EQ(fresh.getUniqueName("ROI0"), "ROI0");
}

TEST_F(TreeModel, ShowsASetInItsOrder) {
  fillAndShow();
  expectTree("a b group[c d]");
  EXPECT_EQ(model->getRois(), rois);
  EXPECT_EQ(model->roiModule(), QxRoiTreeModel::FULL_MODULE);
  EXPECT_EQ(model->rowCount(), 3);
  EXPECT_EQ(model->rowCount(at("group")), 2);
  EXPECT_EQ(model->rowCount(at("a")), 0);
  EXPECT_EQ(model->columnCount(at("c")), 3);
}

TEST_F(TreeModel, IsResetWhenItIsSetUp) {
  fillAndShow();
  addMask("e");
  log->take();
  model->setupModelData(rois);
  EXPECT_THAT(log->take(), ElementsAre("modelReset"));
  expectTree("a b group[c d] e");
}

TEST_F(TreeModel, ShowsNothingWithoutSet) {
  fillAndShow();
  model->setupModelData(nullptr);
  EXPECT_EQ(textOf(*model), "");
  EXPECT_EQ(model->getRoot()->getName(), "Unknown");
  EXPECT_EQ(model->getRoot()->childCount(), 0);
  EXPECT_EQ(model->getAvailableMaskName(), "ROI0");
}

TEST_F(TreeModel, IsEmptyOnceTheSetIsGone) {
  fillAndShow();
  rois.reset();
  EXPECT_THAT(log->take(), ElementsAre("modelReset"));
  EXPECT_EQ(model->getRois(), nullptr);
  EXPECT_EQ(model->rowCount(), 0);
  EXPECT_EQ(model->getRoot()->getName(), "Unknown");
  const std::unique_ptr<QxRoiTreeItem> item(model->insertRoi(0, makeMask("new"), {}, true));
  EXPECT_EQ(item->childNumber(), -1);
}

TEST_F(TreeModel, ForgetsTheSetThatItShowedBefore) {
  fillAndShow();
  const McHandle<HxRois> other(new HxRois);
  model->setupModelData(other);
  log->take();
  rois.reset();
  EXPECT_THAT(log->take(), IsEmpty());
  EXPECT_EQ(model->getRois(), other);
}

TEST_F(TreeModel, LeavesNothingBehindInTheSet) {
  fillAndShow();
  const std::size_t before = rois->interfaces().size();
  auto second = std::make_unique<QxRoiTreeModel>(nullptr, QxRoiTreeModel::ROIS_MODULE);
  second->setupModelData(rois);
  second->setupModelData(rois);
  EXPECT_EQ(rois->interfaces().size(), before + 1);
  second.reset();
  EXPECT_EQ(rois->interfaces().size(), before);
}

// --- Indexes ------------------------------------------------------------------------------------------------------

TEST_F(TreeModel, GivesIndexesForNodes) {
  fillAndShow();
  const QModelIndex d = model->index(1, 2, model->index(2, 0));
  EXPECT_EQ(d.internalPointer(), item("d"));
  EXPECT_EQ(d.column(), 2);
  EXPECT_EQ(model->parent(d), at("group"));
  EXPECT_FALSE(model->parent(at("a")).isValid());
  EXPECT_FALSE(model->parent({}).isValid());
  EXPECT_FALSE(model->index(3, 0).isValid());
  EXPECT_FALSE(model->index(-1, 0).isValid());
  EXPECT_FALSE(model->index(0, -1).isValid());
  EXPECT_EQ(model->getItem({}), model->getRoot());
  EXPECT_FALSE(model->indexFromTreeItem(model->getRoot()).isValid());
  EXPECT_FALSE(model->indexFromTreeItem(nullptr).isValid());
}

TEST_F(TreeModel, TellsKindsOfNodes) {
  fillAndShow();
  EXPECT_TRUE(model->isRoiMask(at("c")));
  EXPECT_FALSE(model->isRoiGroup(at("c")));
  EXPECT_TRUE(model->isRoiGroup(at("group")));
  EXPECT_FALSE(model->isRoiRoot(at("group")));
  EXPECT_TRUE(model->isRoiRoot({}));
  EXPECT_FALSE(model->isRoiMask({}));
}

TEST_F(TreeModel, FindsRoisAndNames) {
  fillAndShow();
  EXPECT_EQ(model->treeItemFromRoi(rois->getRoi("d")), item("d"));
  EXPECT_EQ(model->treeItemFromRoi(makeMask("d")), nullptr);
  EXPECT_EQ(model->indexFromName("d"), model->index(1, 0, model->index(2, 0)));
  EXPECT_FALSE(model->indexFromName("D").isValid());
  EXPECT_FALSE(model->indexFromName("atlas").isValid());
  EXPECT_FALSE(model->indexFromName(QString()).isValid());
}

TEST_F(TreeModel, TakesDropsBetweenRowsOfTheTopLevel) {
  fillAndShow();
  EXPECT_EQ(model->flags({}), Qt::ItemIsDropEnabled | Qt::ItemIsEnabled);
  EXPECT_EQ(model->flags(at("a", 1)), item("a")->flags(1));
  EXPECT_EQ(model->supportedDropActions(), Qt::CopyAction | Qt::MoveAction);
  EXPECT_THAT(model->mimeTypes(), ElementsAre("application/vnd.text.list"));
}

TEST_F(TreeModel, TellsOfChangedData) {
  fillAndShow();
  EXPECT_TRUE(model->setData(at("a"), "first"));
  EXPECT_TRUE(model->setData(at("first", 1), QColor(1, 2, 3)));
  EXPECT_THAT(log->take(), ElementsAre("dataChanged first:0", "dataChanged first:1"));
  EXPECT_EQ(model->data(at("first")), "first");
  EXPECT_FALSE(model->data({}).isValid());
}

TEST_F(TreeModel, AgreesToDataForNoRow) {
  fillAndShow();
  watch.reset();  // Qt's tester calls news of no cell a fault
  EXPECT_TRUE(model->setData({}, "x", Qt::EditRole));
  EXPECT_TRUE(model->setData({}, QColor(Qt::red), Qt::EditRole));
  EXPECT_THAT(log->take(), ElementsAre("dataChanged -:-1", "dataChanged -:-1"));
  EXPECT_EQ(rois->getLabel(), "atlas") << "the set that the root shows";
  expectTree("a b group[c d]");
  EXPECT_FALSE(QxRoiTreeModel(nullptr, QxRoiTreeModel::FULL_MODULE).setData({}, "x", Qt::EditRole)) << "without root";
}

TEST_F(TreeModel, OffersFreeNames) {
  fillAndShow();
  EXPECT_EQ(model->getUniqueName("a"), "a0");
  EXPECT_EQ(model->getAvailableMaskName(), "ROI0");
  EXPECT_EQ(model->getAvailableGroupName(), "Group0");
  addMask("roi0");
  addMask("Group0");
  EXPECT_EQ(model->getAvailableMaskName(), "ROI1");
  EXPECT_EQ(model->getAvailableGroupName(), "Group1");
}

// --- Visibility ---------------------------------------------------------------------------------------------------

TEST_F(TreeModel, ShowsAndHidesByNameOrIdentifier) {
  fillAndShow();
  const QString id = item("d")->getId();
  EXPECT_TRUE(model->isRoiVisible("d", true));
  model->setRoiVisible(false, id);
  EXPECT_FALSE(model->isRoiVisible("d", false));
  EXPECT_FALSE(model->isRoiVisible(id, false));
  model->setRoiVisible(true, "d");
  model->setRoiVisible(false, "group");
  EXPECT_TRUE(model->isRoiVisible("d", false));
  EXPECT_FALSE(model->isRoiVisible("d", true));
  EXPECT_FALSE(model->isRoiVisible("nobody", false));
  EXPECT_FALSE(model->isRoiVisible("", false));
  model->setRoiVisible(true, "nobody");
  EXPECT_THAT(log->take(), IsEmpty());
}

TEST_F(TreeModel, TakesTheFirstMatchAndNamesBeforeIdentifiers) {
  fillAndShow();
  rois->getRoi("b")->setId("a");
  rois->getRoi("c")->setId("b");
  model->setRoiVisible(false, "a");
  EXPECT_FALSE(item("a")->isVisible(false));
  EXPECT_TRUE(item("b")->isVisible(false));
  model->setRoiVisible(false, "b");
  EXPECT_FALSE(item("b")->isVisible(false));
  EXPECT_TRUE(item("c")->isVisible(false));
}

TEST_F(TreeModel, ShowsAndHidesAll) {
  fillAndShow();
  model->setAllRoisVisible(false);
  for (const char* name : {"a", "b", "group", "c", "d"}) EXPECT_FALSE(item(name)->isVisible(false)) << name;
  model->setAllRoisVisible(true);
  for (const char* name : {"a", "b", "group", "c", "d"}) EXPECT_TRUE(item(name)->isVisible(false)) << name;
}

TEST_F(TreeModel, ReachesOnlyTheFirstOfAName) {
  fillAndShow();
  // Two nodes of one name, as they stand between a change of the set and the next synchronization.
  auto* twin = model->createItem(makeMask("a"), model->getRoot());
  model->insertTreeItem(3, twin, {}, false);
  model->setAllRoisVisible(false);
  EXPECT_FALSE(item("a")->isVisible(false));
  EXPECT_TRUE(twin->isVisible(false));
}

// --- Inserting ----------------------------------------------------------------------------------------------------

TEST_F(TreeModel, InsertsARoi) {
  fillAndShow();
  QxRoiTreeItem* inserted = model->insertRoi(1, makeMask("new"), {}, true);
  EXPECT_EQ(inserted, item("new"));
  EXPECT_TRUE(inserted->isVisible(false));
  EXPECT_THAT(log->take(), ElementsAre("rowsInserted - 1 1", "modelRowsInserted - 1 1", "layoutChanged"));
  model->insertRoi(2, makeMask("member"), at("group"), true);
  EXPECT_THAT(log->take(), ElementsAre("rowsInserted group 2 2", "modelRowsInserted group 2 2", "layoutChanged"));
  expectTree("a new b group[c d member]");
}

TEST_F(TreeModel, InsertsIntoTheTreeAlone) {
  fillAndShow();
  rois->insertRoi(makeMask("new"), 0);
  model->insertRoi(0, rois->getRoi("new"), {}, false);
  expectTree("new a b group[c d]");
}

TEST_F(TreeModel, ResetsWhenARoiIsRefused) {
  fillAndShow();
  const QPersistentModelIndex b(at("b"));
  EXPECT_EQ(model->insertRoi(0, makeMask("a"), {}, true), nullptr);
  EXPECT_THAT(console.errors, ElementsAre("A roi named a has already been inserted inside this HxRois (atlas)."));
  EXPECT_THAT(log->take(), ElementsAre("modelReset", "modelRowsInserted - 0 0", "layoutChanged"));
  EXPECT_FALSE(b.isValid());
  expectTree("a b group[c d]");
}

TEST_F(TreeModel, TellsOfTheGroupThatRefused) {
  fillAndShow();
  const McHandle<HxRois> other(new HxRois);
  other->setLabel("other");
  other->addRoi(rois->getRoi("group"));
  other->addRoi(makeMask("x"));
  EXPECT_EQ(model->insertRoi(1, makeMask("x"), at("group"), true), nullptr);
  EXPECT_THAT(console.errors, ElementsAre("A roi named x has already been inserted inside this HxRois (other)."));
  EXPECT_THAT(log->take(), ElementsAre("modelReset", "modelRowsInserted group 1 1", "layoutChanged"));
  expectTree("a b group[c d]");
}

TEST_F(TreeModel, SurvivesTheRemovalOfARowByThoseWhoHearOfIt) {
  fillAndShow();
  const QMetaObject::Connection meddling =
      QObject::connect(model.get(), &QAbstractItemModel::rowsInserted,
                       [this](const QModelIndex& parent, int first) { delete model->removeRoi(first, parent, true); });
  EXPECT_EQ(model->insertRoi(1, makeMask("new"), {}, true), nullptr);
  QObject::disconnect(meddling);
  expectTree("a b group[c d]");
}

TEST_F(TreeModel, RefusesTheMaskBehindTheHundredth) {
  fillUp();
  showSet();
  EXPECT_EQ(model->insertRoi(0, makeMask("one-more"), {}, true), nullptr);
  EXPECT_THAT(console.errors, ElementsAre("There is already 100 masks inside atlas. No more mask can be inserted."));
  EXPECT_EQ(model->rowCount(), 100);
  EXPECT_NE(model->insertRoi(0, makeGroup("empty"), {}, true), nullptr);
}

TEST_F(TreeModel, HandsBackWhatCannotStandThere) {
  fillAndShow();
  for (const char* parent : {"group", "a"}) {
    const std::unique_ptr<QxRoiTreeItem> inner(model->insertRoi(0, makeGroup("inner"), at(parent), true));
    ASSERT_NE(inner, nullptr);
    EXPECT_EQ(inner->childNumber(), -1);
    EXPECT_FALSE(model->indexFromTreeItem(inner.get()).isValid());
  }
  EXPECT_THAT(console.errors, IsEmpty());
  expectTree("a b group[c d]");
}

TEST_F(TreeModel, TellsDerivedModelsOfInsertions) {
  struct Told : QxRoiTreeModel {
    using QxRoiTreeModel::QxRoiTreeModel;
    void configureInsertedRoi(QxRoiTreeItem* inserted) override { told.push_back(inserted); }
    std::vector<QxRoiTreeItem*> told;
  };
  fillSet();
  Told told(nullptr, QxRoiTreeModel::FULL_MODULE);
  told.setupModelData(rois);
  QxRoiTreeItem* inserted = told.insertRoi(0, makeMask("new"), {}, true);
  told.insertRoi(0, makeMask("new"), {}, true);
  EXPECT_THAT(told.told, ElementsAre(inserted, nullptr));
}

TEST_F(TreeModel, InsertsANodeThatWasTakenOut) {
  fillAndShow();
  QxRoiTreeItem* taken = model->removeRoi(0, {}, true);
  EXPECT_THAT(log->take(), ElementsAre("rowsRemoved - 0 0", "modelRowsRemoved - 0 0"));
  taken->setVisible(false);
  EXPECT_TRUE(model->insertTreeItem(0, taken, at("group"), true));
  EXPECT_THAT(log->take(), ElementsAre("rowsInserted group 0 0", "modelRowsInserted group 0 0", "layoutChanged"));
  expectTree("b group[a c d]");
  EXPECT_FALSE(item("a")->isVisible(false));
}

TEST_F(TreeModel, LeavesANodeThatCannotStandThereToTheCaller) {
  fillAndShow();
  const std::unique_ptr<QxRoiTreeItem> inner(model->createItem(makeGroup("inner"), nullptr));
  EXPECT_FALSE(model->insertTreeItem(0, inner.get(), at("group"), true));
  const std::unique_ptr<QxRoiTreeItem> twin(model->createItem(makeMask("a"), nullptr));
  EXPECT_EQ(refusalOf([&] { model->insertTreeItem(0, twin.get(), {}, true); }),
            "A roi named a has already been inserted inside this HxRois (atlas).");
  expectTree("a b group[c d]");
}

// --- Removing -----------------------------------------------------------------------------------------------------

TEST_F(TreeModel, RemovesRois) {
  fillAndShow();
  delete model->removeRoi(0, at("group"), true);
  EXPECT_THAT(log->take(), ElementsAre("rowsRemoved group 0 0", "modelRowsRemoved group 0 0"));
  expectTree("a b group[d]");
  delete model->removeRoi(2, {}, true);
  expectTree("a b");
  EXPECT_EQ(rois->getRoi("d"), nullptr);
}

TEST_F(TreeModel, RemovesNothingWhereNothingIs) {
  fillAndShow();
  for (const int position : {-1, 3, 100}) EXPECT_EQ(model->removeRoi(position, {}, true), nullptr);
  EXPECT_EQ(model->removeRoi(0, at("a"), true), nullptr);
  EXPECT_THAT(log->take(), IsEmpty());
}

TEST_F(TreeModel, KeepsARowThatTheSetKeeps) {
  fillAndShow();
  const McHandle<Roi> a = rois->removeRoi("a");
  EXPECT_EQ(refusalOf([&] { model->removeRoi(0, {}, true); }),
            "No roi named a has been inserted inside this HxRois (atlas).");
  EXPECT_EQ(textOf(*model), "a b group[c d]");
  EXPECT_THAT(log->take(), IsEmpty());
}

TEST_F(TreeModel, TouchesNoOtherRoiOfTheSameName) {
  fillAndShow();
  rois->removeRoi("a");
  group("group")->removeMask("c");
  const McHandle<Mask> a = addMask("a");
  const McHandle<Mask> c = makeMask("c");
  group("group")->addMask(c);
  const char* const refusal = "The roi named a inside atlas is not the one of the tree.";
  EXPECT_EQ(refusalOf([&] { model->removeRoi(0, {}, true); }), refusal);
  EXPECT_EQ(refusalOf([&] { model->moveRoi(0, 0, {}, at("group"), true); }), refusal);
  EXPECT_EQ(refusalOf([&] { model->replaceRoi(at("a"), makeMask("new")); }), refusal);
  EXPECT_EQ(refusalOf([&] { model->removeRoi(0, at("group"), true); }),
            "The roi named c inside group is not the one of the tree.");
  EXPECT_EQ(rois->getMask("a"), a.get());
  EXPECT_EQ(rois->getMask("c"), c.get());
  EXPECT_EQ(textOf(*model), "a b group[c d]");
  EXPECT_THAT(log->take(), IsEmpty());
}

TEST_F(TreeModel, KeepsPersistentIndexesOfOtherRows) {
  fillAndShow();
  const QPersistentModelIndex b(at("b"));
  const QPersistentModelIndex d(at("d", 1));
  delete model->removeRoi(0, {}, true);
  model->insertRoi(0, makeMask("x"), at("group"), true);
  model->insertRoi(0, makeMask("y"), {}, true);
  EXPECT_EQ(b, at("b"));
  EXPECT_EQ(d, at("d", 1));
}

// --- Moving -------------------------------------------------------------------------------------------------------

TEST_F(TreeModel, MovesAMaskIntoAGroupAndOut) {
  fillAndShow();
  const McHandle<HxColormap> colormap(new HxColormap);
  rois->getRoi("a")->setColormap(colormap);
  item("a")->setVisible(false);
  EXPECT_TRUE(model->moveRoi(0, 1, {}, at("group"), true));
  EXPECT_THAT(log->take(),
              ElementsAre("rowsRemoved - 0 0", "rowsInserted group 1 1", "modelRowMoved 0 1 - group", "layoutChanged"));
  expectTree("b group[c a d]");
  EXPECT_EQ(rois->getRoi("a")->colormap(false), colormap.get());
  EXPECT_TRUE(model->moveRoi(1, 0, at("group"), {}, true));
  EXPECT_THAT(log->take(),
              ElementsAre("rowsRemoved group 1 1", "rowsInserted - 0 0", "modelRowMoved 1 0 group -", "layoutChanged"));
  expectTree("a b group[c d]");
  EXPECT_EQ(rois->getRoi("a")->colormap(false), colormap.get());
  EXPECT_FALSE(item("a")->isVisible(false));
}

TEST_F(TreeModel, MovesTheLastMaskOfASet) {
  addMask("only");
  rois->addRoi(makeGroup("group"));
  showSet();
  EXPECT_TRUE(model->moveRoi(0, 0, {}, at("group"), true));
  expectTree("group[only]");
  EXPECT_EQ(rois->dimensions(), McVec3i(13, 11, 7));
}

TEST_F(TreeModel, MovesNothingThatCannotStandThere) {
  fillAndShow();
  rois->addRoi(makeGroup("other"));
  showSet();
  EXPECT_FALSE(model->moveRoi(3, 0, {}, at("group"), true));
  EXPECT_FALSE(model->moveRoi(0, 0, {}, at("b"), true));
  EXPECT_FALSE(model->moveRoi(7, 0, {}, {}, true));
  EXPECT_THAT(log->take(), IsEmpty());
  expectTree("a b group[c d] other[]");
}

TEST_F(TreeModel, PutsBackWhatIsRefusedElsewhere) {
  fillAndShow();
  const McHandle<HxRois> other(new HxRois);
  other->setLabel("other");
  other->addRoi(rois->getRoi("group"));
  other->addRoi(makeMask("b"));
  const McHandle<HxColormap> colormap(new HxColormap);
  rois->getRoi("b")->setColormap(colormap);
  EXPECT_EQ(refusalOf([&] { model->moveRoi(1, 0, {}, at("group"), true); }),
            "A roi named b has already been inserted inside this HxRois (other).");
  expectTree("a b group[c d]");
  EXPECT_EQ(rois->getRoi("b")->colormap(false), colormap.get());
  EXPECT_THAT(log->take(), IsEmpty());
}

TEST_F(TreeModel, ReplacesARoiInItsRow) {
  fillAndShow();
  const QPersistentModelIndex b(at("b"));
  model->replaceRoi(at("b"), makeMask("new"));
  expectTree("a new group[c d]");
  EXPECT_EQ(b, at("new"));
  EXPECT_THAT(log->take(), ElementsAre("dataChanged new:0 new:2"));
  model->replaceRoi({}, makeMask("x"));
  expectTree("a new group[c d]");
}

TEST_F(TreeModel, ReplacesAMaskByAGroupWithItsMasks) {
  fillAndShow();
  model->replaceRoi(at("b"), makeGroup("new", {"e", "f"}));
  expectTree("a new[e f] group[c d]");
  EXPECT_EQ(item("f")->parent(), item("new"));
}

TEST_F(TreeModel, ReplacesAGroupWithItsMasks) {
  fillAndShow();
  const QPersistentModelIndex c(at("c"));
  model->replaceRoi(at("group"), makeGroup("new", {"e"}));
  expectTree("a b new[e]");
  EXPECT_FALSE(c.isValid());
  model->replaceRoi(at("new"), makeMask("mask"));
  expectTree("a b mask");
  EXPECT_EQ(model->rowCount(at("mask")), 0);
}

TEST_F(TreeModel, TellsNothingOfAReplacementThatCannotBe) {
  fillAndShow();
  model->replaceRoi(at("c"), makeGroup("inner"));
  model->replaceRoi(at("c"), nullptr);
  EXPECT_THAT(log->take(), IsEmpty());
  expectTree("a b group[c d]");
}
