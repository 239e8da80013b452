#include <QItemSelectionModel>
#include <QPersistentModelIndex>
#include <QPointer>
#include <QTreeView>
#include <gmock/gmock.h>
#include <memory>

#include "hxroi/internal/QxModelRoisSynchronizer.h"
#include "tests/hxroi/internal/TreeTest.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::UnorderedElementsAre;

/// A tree that is brought in line with its set.
class Synchronizer : public TreeTest {
protected:
  ~Synchronizer() override { synchronizer.setModel(nullptr); }

  void follow() {
    showSet();
    synchronizer.setModel(model.get());
    log->take();
  }

  void fillAndFollow() {
    fillSet();
    follow();
  }

  void synchronize(const std::string& expected) {
    synchronizer.synchronizeData();
    expectTree(expected);
  }

  QxModelRoisSynchronizer synchronizer;
};

// --- What it finds ------------------------------------------------------------------------------------------------

TEST_F(Synchronizer, DoesNothingWhenNothingChanged) {
  fillAndFollow();
  synchronize("a b group[c d]");
  EXPECT_THAT(log->take(), IsEmpty());
  EXPECT_TRUE(synchronizer.removedNames.isEmpty());
  EXPECT_TRUE(synchronizer.insertedNames.isEmpty());
  EXPECT_TRUE(synchronizer.movedNames.isEmpty());
  EXPECT_TRUE(synchronizer.nameChanges.isEmpty());
  EXPECT_TRUE(synchronizer.modifiedNames.isEmpty());
}

TEST_F(Synchronizer, InsertsWhatIsNew) {
  fillAndFollow();
  addMask("e");
  group("group")->addMask(makeMask("f"));
  rois->insertRoi(makeGroup("other", {"g"}), 0);
  synchronize("other[g] a b group[c d f] e");
  EXPECT_THAT(synchronizer.insertedNames, ElementsAre("other", "g", "f", "e"));
  EXPECT_TRUE(synchronizer.movedNames.isEmpty());
}

TEST_F(Synchronizer, AppendsANewRoi) {
  fillAndFollow();
  addMask("e");
  synchronize("a b group[c d] e");
  EXPECT_THAT(log->take(), ElementsAre("rowsInserted - 3 3", "modelRowsInserted - 3 3", "layoutChanged"));
  EXPECT_THAT(synchronizer.insertedNames, ElementsAre("e"));
}

TEST_F(Synchronizer, RemovesAGroupAfterItsMasks) {
  fillAndFollow();
  rois->removeRoi("group");
  synchronize("a b");
  EXPECT_THAT(synchronizer.removedNames, UnorderedElementsAre("group", "c", "d"));
  EXPECT_THAT(log->take(),
              ElementsAre("rowsRemoved Unknown 0 0", "modelRowsRemoved Unknown 0 0", "rowsRemoved Unknown 0 0",
                          "modelRowsRemoved Unknown 0 0", "rowsRemoved - 2 2", "modelRowsRemoved - 2 2"));
}

TEST_F(Synchronizer, KeepsTheMasksOfAGroupThatWentAlone) {
  fillAndFollow();
  item("d")->setVisible(false);
  QxRoiTreeItem* c = item("c");
  const McHandle<Roi> parent = rois->getRoi("group");
  const McHandle<Mask> maskC = rois->getMask("c");
  const McHandle<Mask> maskD = rois->getMask("d");
  group("group")->removeMask("c");
  group("group")->removeMask("d");
  rois->removeRoi("group");
  rois->insertRoi(maskD, 0);
  rois->addRoi(maskC);
  synchronize("d a b c");
  EXPECT_EQ(item("c"), c);
  EXPECT_FALSE(item("d")->isVisible(false));
  EXPECT_THAT(synchronizer.movedNames, ElementsAre("d", "c"));
  EXPECT_THAT(synchronizer.removedNames, ElementsAre("group"));
  EXPECT_TRUE(synchronizer.insertedNames.isEmpty());
  EXPECT_THAT(log->take(), ElementsAre("rowsRemoved - 2 2", "modelRowsRemoved - 2 2", "rowsInserted - 0 0",
                                       "modelRowsInserted - 0 0", "layoutChanged", "rowsInserted - 3 3",
                                       "modelRowsInserted - 3 3", "layoutChanged"));
}

TEST_F(Synchronizer, MovesMasksOfAGroupThatWentIntoAnother) {
  fillAndFollow();
  const McHandle<Mask> c = rois->getMask("c");
  const QPersistentModelIndex index(at("c"));
  group("group")->removeMask("c");
  rois->removeRoi("group");
  rois->insertRoi(makeGroup("other"), 0);
  group("other")->addMask(c);
  synchronize("other[c] a b");
  EXPECT_THAT(synchronizer.movedNames, ElementsAre("c"));
  EXPECT_THAT(synchronizer.insertedNames, ElementsAre("other"));
  EXPECT_FALSE(index.isValid());
}

TEST_F(Synchronizer, FollowsTheOrderOfTheSet) {
  fillAndFollow();
  const McHandle<Roi> b = rois->removeRoi("b");
  rois->insertRoi(b, 0);
  synchronize("b a group[c d]");
  EXPECT_THAT(synchronizer.movedNames, ElementsAre("b"));
  const McHandle<Mask> d = group("group")->removeMask("d");
  group("group")->insertMask(d, 0);
  synchronize("b a group[d c]");
  EXPECT_THAT(synchronizer.movedNames, ElementsAre("d"));
}

TEST_F(Synchronizer, FollowsMasksIntoGroupsAndOut) {
  fillAndFollow();
  const McHandle<Roi> a = rois->removeRoi("a");
  group("group")->insertMask(dynamic_cast<Mask*>(a.get()), 1);
  const McHandle<Mask> c = group("group")->removeMask("c");
  rois->addRoi(c);
  synchronize("b group[a d] c");
  EXPECT_TRUE(synchronizer.insertedNames.isEmpty());
  EXPECT_TRUE(synchronizer.removedNames.isEmpty());
}

TEST_F(Synchronizer, NoticesNewNames) {
  fillAndFollow();
  item("c")->setVisible(false);
  rois->getRoi("c")->setName("kidney");
  synchronize("a b group[kidney d]");
  EXPECT_THAT(synchronizer.nameChanges, ElementsAre(Pair("c", "kidney")));
  EXPECT_TRUE(synchronizer.insertedNames.isEmpty());
  EXPECT_TRUE(synchronizer.removedNames.isEmpty());
  EXPECT_FALSE(item("kidney")->isVisible(false));
  EXPECT_THAT(log->take(), IsEmpty());
  synchronize("a b group[kidney d]");
  EXPECT_TRUE(synchronizer.nameChanges.isEmpty());
}

TEST_F(Synchronizer, TellsARoiFromOneThatIsGone) {
  fillAndFollow();
  // Names alone would not show it, and the address may even be the same.
  rois->removeRoi("b");
  addMask("b");
  synchronize("a group[c d] b");
  EXPECT_THAT(synchronizer.removedNames, ElementsAre("b"));
  EXPECT_THAT(synchronizer.insertedNames, ElementsAre("b"));
  EXPECT_TRUE(synchronizer.nameChanges.isEmpty());
}

TEST_F(Synchronizer, TellsARoiFromALaterOneAtItsAddress) {
  fillAndFollow();
  for (int i = 0; i < 50; ++i) {
    delete model->removeRoi(1, {}, true);
    const std::string name = "b" + std::to_string(i);
    model->insertRoi(1, makeMask(name), {}, true);
    synchronizer.synchronizeData();
    EXPECT_EQ(synchronizer.removedNames.size(), 1);
    EXPECT_TRUE(synchronizer.nameChanges.isEmpty());
  }
}

// --- Changed voxels -----------------------------------------------------------------------------------------------

TEST_F(Synchronizer, NoticesChangedVoxelsOfWhatItInserted) {
  fillAndFollow();
  addMask("e");
  synchronizer.synchronizeData();
  EXPECT_TRUE(synchronizer.modifiedNames.isEmpty());
  fill(*rois->getMask("e"), {0, 0, 0}, {1, 1, 1});
  synchronizer.synchronizeData();
  EXPECT_THAT(synchronizer.modifiedNames, ElementsAre("e"));
  synchronizer.synchronizeData();
  EXPECT_TRUE(synchronizer.modifiedNames.isEmpty());
}

TEST_F(Synchronizer, DoesNotWatchVoxelsOfWhatWasThereBefore) {
  fillAndFollow();
  fill(*rois->getMask("a"), {0, 0, 0}, {1, 1, 1});
  synchronizer.synchronizeData();
  EXPECT_TRUE(synchronizer.modifiedNames.isEmpty());
}

TEST_F(Synchronizer, KeepsStampsThroughNewNames) {
  fillAndFollow();
  addMask("e");
  addMask("f");
  synchronizer.synchronizeData();
  rois->getRoi("e")->setName("x");
  rois->getRoi("f")->setName("e");
  rois->getRoi("x")->setName("f");
  fill(*rois->getMask("e"), {0, 0, 0}, {1, 1, 1});
  synchronizer.synchronizeData();
  EXPECT_THAT(synchronizer.nameChanges, UnorderedElementsAre(Pair("e", "f"), Pair("f", "e")));
  EXPECT_THAT(synchronizer.modifiedNames, ElementsAre("e"));
  rois->removeRoi("e");
  synchronizer.synchronizeData();
  EXPECT_THAT(synchronizer.removedNames, ElementsAre("e"));
  EXPECT_TRUE(synchronizer.modifiedNames.isEmpty());
}

// --- Rows that nobody touched -------------------------------------------------------------------------------------

TEST_F(Synchronizer, KeepsSelectionAndIndexesOfOtherRows) {
  fillAndFollow();
  QTreeView view;
  view.setModel(model.get());
  view.setSelectionMode(QAbstractItemView::ExtendedSelection);
  view.expand(at("group"));
  for (const char* name : {"b", "d"}) {
    view.selectionModel()->select(at(name), QItemSelectionModel::Select | QItemSelectionModel::Rows);
  }
  view.selectionModel()->setCurrentIndex(at("d"), QItemSelectionModel::NoUpdate);
  const QPersistentModelIndex b(at("b"));
  const QPersistentModelIndex d(at("d", 2));
  rois->removeRoi("a");
  rois->insertRoi(makeGroup("other", {"e"}), 0);
  group("group")->insertMask(makeMask("f"), 0);
  rois->addRoi(makeMask("g"));
  synchronize("other[e] b group[f c d] g");
  EXPECT_EQ(b, at("b"));
  EXPECT_EQ(d, at("d", 2));
  EXPECT_TRUE(view.isExpanded(at("group")));
  EXPECT_EQ(view.currentIndex(), at("d"));
  EXPECT_THAT(view.selectionModel()->selectedRows(), UnorderedElementsAre(at("b"), at("d")));
}

TEST_F(Synchronizer, SurvivesASelectionInAGroupThatGoesAlone) {
  fillAndFollow();
  QTreeView view;
  view.setModel(model.get());
  view.expandAll();
  view.show();
  view.selectionModel()->setCurrentIndex(at("d"), QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
  const McHandle<Mask> c = rois->getMask("c");
  const McHandle<Mask> d = rois->getMask("d");
  group("group")->removeMask("c");
  group("group")->removeMask("d");
  rois->removeRoi("group");
  rois->addRoi(d);
  rois->addRoi(c);
  synchronize("a b d c");
  view.grab();
  for (const QModelIndex& row : view.selectionModel()->selectedRows()) EXPECT_EQ(row, at("d"));
}

TEST_F(Synchronizer, OwnsItsModelHoweverOftenItIsGiven) {
  QxModelRoisSynchronizer owner(rois);
  const QPointer<QxRoiTreeModel> owned = owner.getModel();
  owner.setModel(owned);
  EXPECT_EQ(owner.getModel(), owned);
  owner.setModel(nullptr);
  EXPECT_TRUE(owned.isNull());
}

// --- When it does nothing -----------------------------------------------------------------------------------------

TEST_F(Synchronizer, NeedsAModelWithASet) {
  QxModelRoisSynchronizer none;
  none.synchronizeData();
  none.setModel(nullptr);
  QxRoiTreeModel fresh(nullptr, QxRoiTreeModel::ROIS_MODULE);
  none.setModel(&fresh);
  fresh.setupModelData(nullptr);
  none.synchronizeData();
  EXPECT_EQ(fresh.rowCount(), 0);
}

TEST_F(Synchronizer, MakesAModelOfItsOwn) {
  fillSet();
  QxModelRoisSynchronizer own(rois);
  EXPECT_EQ(own.getModel()->roiModule(), QxRoiTreeModel::FULL_MODULE);
  EXPECT_EQ(textOf(*own.getModel()), "a b group[c d]");
  const QPointer<QxRoiTreeModel> former(own.getModel());
  showSet();
  own.setModel(model.get());
  EXPECT_EQ(former, nullptr);
  EXPECT_EQ(own.getModel(), model.get());
}

TEST_F(Synchronizer, EndsNestedCallsAtOnce) {
  fillAndFollow();
  int calls = 0;
  QObject::connect(model.get(), &QAbstractItemModel::rowsInserted, model.get(), [&] {
    ++calls;
    synchronizer.synchronizeData();
  });
  addMask("e");
  addMask("f");
  synchronize("a b group[c d] e f");
  EXPECT_EQ(calls, 2);
  EXPECT_THAT(synchronizer.insertedNames, ElementsAre("e", "f"));
}

TEST_F(Synchronizer, WaitsUntilAnEditOfTheTreeIsDone) {
  fillAndFollow();
  int calls = 0;
  const auto call = [&] {
    ++calls;
    synchronizer.synchronizeData();
  };
  QObject::connect(model.get(), &QAbstractItemModel::rowsAboutToBeRemoved, model.get(), call);
  QObject::connect(model.get(), &QAbstractItemModel::rowsRemoved, model.get(), call);
  EXPECT_TRUE(model->moveRoi(0, 1, {}, at("group"), true));
  EXPECT_EQ(calls, 2);
  expectTree("b group[c a d]");
  delete model->removeRoi(0, {}, true);
  expectTree("group[c a d]");
}

TEST_F(Synchronizer, SurvivesItsModelAndItsSet) {
  fillAndFollow();
  rois.reset();
  synchronizer.synchronizeData();
  EXPECT_EQ(model->rowCount(), 0);
  log.reset();
  watch.reset();
  model.reset();
  synchronizer.synchronizeData();
  EXPECT_EQ(synchronizer.getModel(), nullptr);
}

TEST_F(Synchronizer, FindsARoiInAList) {
  fillAndFollow();
  const Roi* d = rois->getRoi("d");
  EXPECT_EQ(synchronizer.searchRoiInList(d, {item("a"), item("d"), item("b")}), item("d"));
  EXPECT_EQ(synchronizer.searchRoiInList(d, {item("a")}), nullptr);
  EXPECT_EQ(synchronizer.searchRoiInList(d, {}), nullptr);
}
