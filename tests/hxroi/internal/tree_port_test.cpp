#include "hxroi/HxRoiToHxVolumeDataRegistry.h"
#include "hxroi/internal/QxRoiTreeModelProxy.h"
#include "quarn/kernel/objects/HxEditor.h"
#include "tests/hxroi/internal/TreePortTest.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

class TreePort : public TreePortTest {};

TEST_F(TreePort, IsAType) {
  EXPECT_EQ(McType::find("HxPortRoiTreeView"), HxPortRoiTreeView::getClassTypeId());
  EXPECT_TRUE(HxPortRoiTreeView::getClassTypeId().isDerivedFrom(HxPort::getClassTypeId()));
  EXPECT_EQ(port().getTypeId().getName(), "HxPortRoiTreeView");
}

TEST_F(TreePort, IsOfTheKindOfSetsWhenAFactoryMakesIt) {
  class Editor : public HxEditor {};
  const McHandle<Editor> editor(new Editor);
  const std::unique_ptr<HxPortRoiTreeView> ofObject(HxPortRoiTreeView::createInstanceWithObject(owner, "tree", "Tree"));
  const std::unique_ptr<HxPortRoiTreeView> ofEditor(
      HxPortRoiTreeView::createInstanceWithEditor(editor, "tree", "Tree"));
  for (const auto* made : {ofObject.get(), ofEditor.get()}) {
    EXPECT_EQ(made->getModel()->roiModule(), QxRoiTreeModel::ROIS_MODULE);
    EXPECT_EQ(made->getName(), "tree");
    EXPECT_EQ(made->getLabel(), "Tree");
  }
  EXPECT_EQ(ofEditor->owner(), editor.get());
}

TEST_F(TreePort, MakesAModelOfItsKind) {
  EXPECT_EQ(model().roiModule(), QxRoiTreeModel::SELECTOR_MODULE);
  const McHandle<TreeOwner> full(new TreeOwner(HxPortRoiTreeView::FULL_MODULE));
  EXPECT_EQ(full->port.getModel()->roiModule(), QxRoiTreeModel::FULL_MODULE);
  const McHandle<TreeOwner> other(new TreeOwner(static_cast<Module>(7)));
  EXPECT_EQ(other->port.getModel()->roiModule(), QxRoiTreeModel::FULL_MODULE);
}

TEST_F(TreePort, BeginsWithoutSetAndWidget) {
  EXPECT_EQ(port().getHxRois(), nullptr);
  EXPECT_EQ(port().view(), nullptr);
  EXPECT_EQ(port().actionSet(), nullptr);
  EXPECT_TRUE(port().getSelectedRois().isEmpty());
  EXPECT_FALSE(port().isRoiSelected("a"));
  EXPECT_FALSE(port().isRoiVisible("a"));
  port().setRoiSelected(true, "a");
  port().setRoiVisible(true, "a");
  port().setAllRoisVisible(false);
  port().updateHxRois();
  port().treeContextMenu();
}

TEST_F(TreePort, ShowsAllRoisThatAreThereAndHidesThoseThatCome) {
  addMask("a");
  port().setHxRois(rois);
  EXPECT_EQ(port().getHxRois(), rois.get());
  EXPECT_THAT(checked(), ElementsAre("a"));
  addMask("b");
  addGroup("G", {"m"});
  EXPECT_FALSE(port().isRoiVisible("b")) << "not in the tree yet";
  settle();
  port().updateHxRois();
  EXPECT_THAT(checked(), ElementsAre("a"));
  EXPECT_EQ(port().getNewFlags(), 1024U);
  port().setRoiVisible(true, "b");
  settle();
  port().updateHxRois();
  EXPECT_THAT(checked(), ElementsAre("a", "b"));
  EXPECT_FALSE(port().isNew()) << "there was nothing new";
}

TEST_F(TreePort, KnowsVisibilityByNameAndIdentifier) {
  Mask* mask = addMask("a");
  Group* group = addGroup("G", {"m"});
  port().setHxRois(rois);
  settle();
  port().setRoiVisible(false, QString::fromStdString(mask->id()));
  EXPECT_EQ(port().getNewFlags(), 1024U);
  EXPECT_EQ(owner->newEvaluations(), 0);
  EXPECT_FALSE(port().isRoiVisible("a"));
  port().setRoiVisible(false, "G");
  EXPECT_FALSE(port().isRoiVisible("m")) << "in a hidden group";
  EXPECT_FALSE(port().isRoiVisible(QString::fromStdString(group->getMask("m")->id())));
  port().setRoiVisible(false, "m");
  settle();
  port().setAllRoisVisible(true);
  EXPECT_EQ(port().getNewFlags(), 1024U);
  EXPECT_THAT(checked(), ElementsAre("a", "G", "m"));
  port().setAllRoisVisible(false);
  EXPECT_THAT(checked(), IsEmpty());
}

TEST_F(TreePort, IsEmptyOnceItsSetHasGone) {
  addMask("a");
  port().setHxRois(rois);
  HxObjectPool::instance().remove(rois);
  rois.reset();
  EXPECT_EQ(port().getHxRois(), nullptr);
  EXPECT_EQ(model().rowCount(), 0);
  EXPECT_FALSE(port().isRoiVisible("a"));
  port().updateHxRois();
  port().updateModel();
  EXPECT_EQ(state(), "visibility");
  EXPECT_TRUE(port().setState("visibility a 1"));
}

TEST_F(TreePort, TakesAnotherSetAndNone) {
  addMask("a");
  port().setHxRois(rois);
  const McHandle<HxRois> other(new HxRois);
  other->addRoi(makeMask("x"));
  port().setHxRois(other);
  EXPECT_THAT(checked(), ElementsAre("x"));
  HxObjectPool::instance().remove(rois);
  rois.reset();
  EXPECT_THAT(checked(), ElementsAre("x")) << "the former set is of no concern";
  port().setHxRois(nullptr);
  EXPECT_THAT(checked(), IsEmpty());
}

TEST_F(TreePort, ShowsItsSetInAnotherModel) {
  addMask("a");
  port().setHxRois(rois);
  auto other = std::make_unique<QxRoiTreeModel>(nullptr, QxRoiTreeModel::FULL_MODULE);
  settle();
  port().setModel(other.get());
  EXPECT_EQ(port().getNewFlags(), 1536U);
  EXPECT_EQ(owner->newEvaluations(), 0);
  EXPECT_EQ(port().getModel(), other.get());
  EXPECT_THAT(checked(), ElementsAre("a"));
  settle();
  port().setModel(other.get());
  EXPECT_FALSE(port().isNew()) << "the model that it has";
  addMask("b");
  port().updateHxRois();
  EXPECT_EQ(other->rowCount(), 2) << "the synchronizer works on the new model";
  other.reset();
  EXPECT_EQ(port().getModel(), nullptr);
  port().updateHxRois();
  port().setRoiVisible(true, "a");
  EXPECT_FALSE(port().isRoiVisible("a"));
  EXPECT_TRUE(port().setState("visibility a 1"));
  port().setHxRois(rois);
  QString text = "x";
  port().getState(text);
  port().setModel(nullptr);
}

TEST_F(TreePort, LeavesAForeignModelBehind) {
  QxRoiTreeModel other(nullptr, QxRoiTreeModel::FULL_MODULE);
  {
    const McHandle<TreeOwner> brief(new TreeOwner(HxPortRoiTreeView::FULL_MODULE));
    brief->port.setHxRois(rois);
    brief->port.setModel(&other);
  }
  EXPECT_EQ(other.rowCount(), 0) << "it is still there";
}

TEST_F(TreePort, ShowsTheTreeOfAnotherPortThroughAProxy) {
  addMask("a");
  addGroup("G", {"m"});
  port().setHxRois(rois);
  QxRoiTreeModelProxy proxy(&model());
  EXPECT_EQ(proxy.roiModule(), QxRoiTreeModel::FULL_MODULE);
  EXPECT_EQ(proxy.getRoot(), model().getRoot());
  EXPECT_EQ(proxy.rowCount(), 2);
  const QModelIndex group = proxy.index(1, 0);
  EXPECT_EQ(group.model(), &proxy);
  EXPECT_TRUE(proxy.isRoiGroup(group));
  EXPECT_TRUE(proxy.isRoiMask(proxy.index(0, 0, group)));
  EXPECT_TRUE(proxy.isRoiRoot(QModelIndex()));
  EXPECT_EQ(proxy.data(group), "G");
  proxy.setRoiVisible(false, "a");
  EXPECT_FALSE(port().isRoiVisible("a"));
  port().setRoiVisible(false, "G");
  EXPECT_FALSE(proxy.isRoiVisible("m", true));

  EXPECT_EQ(proxy.getUniqueName("a"), model().getUniqueName("a")) << "names that are free in the set";
  EXPECT_NE(proxy.getUniqueName("a"), "a");

  std::vector<QModelIndex> changed;
  QObject::connect(&proxy, &QAbstractItemModel::dataChanged,
                   [&](const QModelIndex& first) { changed.push_back(first); });
  model().setData(model().index(0, 0), "x");
  ASSERT_EQ(changed.size(), 1U);
  EXPECT_EQ(changed[0].row(), 0);
  EXPECT_EQ(proxy.data(changed[0]), "x");

  addMask("b");
  port().updateHxRois();
  EXPECT_EQ(proxy.rowCount(), 3);
  EXPECT_EQ(group.row(), 1);
  port().setHxRois(nullptr);
  EXPECT_EQ(proxy.rowCount(), 0);
}

TEST_F(TreePort, LeavesAnEmptyProxyBehind) {
  auto source = std::make_unique<QxRoiTreeModel>(nullptr, QxRoiTreeModel::ROIS_MODULE);
  addMask("a");
  source->setupModelData(rois);
  QxRoiTreeModelProxy proxy(source.get());
  source.reset();
  EXPECT_EQ(proxy.rowCount(), 0);
  EXPECT_EQ(proxy.getRoot(), nullptr);
  EXPECT_FALSE(proxy.isRoiVisible("a", false));
  proxy.setRoiVisible(true, "a");
  proxy.setupModelData(rois);
}

TEST_F(TreePort, OfASetFollowsItWithoutAnyCall) {
  const QxRoiTreeModel* tree = rois->portRoiVisibility.getModel();
  EXPECT_EQ(rois->portRoiVisibility.getName(), "roiVisibility");
  EXPECT_EQ(rois->portRoiVisibility.getLabel(), "Roi Visibility");
  EXPECT_EQ(tree->roiModule(), QxRoiTreeModel::ROIS_MODULE);
  EXPECT_EQ(rois->portRoiVisibility.getHxRois(), rois.get());
  addMask("a");
  addGroup("G", {"m"});
  EXPECT_EQ(tree->rowCount(), 0) << "before the evaluation";
  rois->fire();
  EXPECT_EQ(tree->rowCount(), 2);
  rois->removeRoi("a");
  rois->fire();
  EXPECT_EQ(tree->rowCount(), 1);
}

TEST_F(TreePort, OfASetThatNobodyHoldsIsNoDanger) {
  auto* loose = new HxRois;
  loose->addRoi(makeMask("a"));
  loose->fire();
  EXPECT_EQ(loose->portRoiVisibility.getModel()->rowCount(), 1);
  const McHandle<HxRois> held(loose);
  loose->addRoi(makeMask("b"));
  loose->fire();
  EXPECT_EQ(loose->portRoiVisibility.getModel()->rowCount(), 2);
}

}  // namespace
