#include <QColor>
#include <QFile>
#include <QPixmap>
#include <gmock/gmock.h>
#include <memory>

#include "hxroi/internal/QxRoiTreeItem.h"
#include "quarn/kernel/app/HxResource.h"
#include "quarn/kernel/fields/HxColormap.h"
#include "tests/hxroi/internal/TreeTest.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

constexpr auto kSelect = Qt::ItemIsSelectable | Qt::ItemIsEnabled;
constexpr auto kDrag = Qt::ItemIsDragEnabled | Qt::ItemIsDropEnabled;

}  // namespace

class TreeItem : public TreeTest {};

TEST_F(TreeItem, StandsForASetOrARoi) {
  fillAndShow();
  const QxRoiTreeItem* root = model->getRoot();
  EXPECT_EQ(root->getRois(), rois);
  EXPECT_EQ(root->getRoi(), nullptr);
  EXPECT_FALSE(root->isMask());
  EXPECT_FALSE(root->isGroup());
  EXPECT_TRUE(item("a")->isMask());
  EXPECT_FALSE(item("a")->isGroup());
  EXPECT_TRUE(item("group")->isGroup());
  EXPECT_EQ(item("a")->getRois(), nullptr);
  EXPECT_EQ(item("a")->getModel(), model.get());
  EXPECT_EQ(static_cast<QObject*>(item("a"))->parent(), nullptr);
}

TEST_F(TreeItem, KnowsItsPlace) {
  fillAndShow();
  const QxRoiTreeItem* root = model->getRoot();
  EXPECT_EQ(root->childCount(), 3);
  EXPECT_EQ(root->child(1), item("b"));
  EXPECT_EQ(root->child(3), nullptr);
  EXPECT_EQ(root->child(-1), nullptr);
  EXPECT_EQ(root->parent(), nullptr);
  EXPECT_EQ(root->childNumber(), 0);
  EXPECT_EQ(item("d")->childNumber(), 1);
  EXPECT_EQ(item("d")->parent(), item("group"));
  EXPECT_EQ(item("d")->columnCount(), 3);
}

TEST_F(TreeItem, IsNamedAfterWhatItShows) {
  fillAndShow();
  EXPECT_EQ(model->getRoot()->getName(), "atlas");
  EXPECT_EQ(item("c")->getName(), "c");
  EXPECT_EQ(item("c")->getId().toStdString(), rois->getRoi("c")->id());
  EXPECT_TRUE(model->getRoot()->getId().isNull());
  const QxRoiTreeItem nothing(static_cast<HxRois*>(nullptr), nullptr);
  EXPECT_EQ(nothing.getName(), "Unknown");
}

TEST_F(TreeItem, KeepsItsRoiAlive) {
  fillAndShow();
  const auto removed = std::unique_ptr<QxRoiTreeItem>(model->removeRoi(0, {}, true));
  EXPECT_EQ(rois->getRoi("a"), nullptr);
  EXPECT_EQ(removed->getName(), "a");
  EXPECT_EQ(removed->parent(), nullptr);
}

// --- Flags --------------------------------------------------------------------------------------------------------

TEST_F(TreeItem, IsEditedInTheTreeOfASet) {
  for (const auto kind : {QxRoiTreeModel::ROIS_MODULE, QxRoiTreeModel::FULL_MODULE}) {
    rois = new HxRois;
    fillAndShow(kind);
    EXPECT_EQ(item("a")->flags(0), kSelect | Qt::ItemIsUserCheckable | Qt::ItemIsEditable | kDrag);
    EXPECT_EQ(item("a")->flags(1), kSelect | Qt::ItemIsEditable);
    EXPECT_EQ(item("group")->flags(1), kSelect | Qt::ItemIsEditable);
    EXPECT_EQ(item("a")->flags(2), kSelect);
  }
}

TEST_F(TreeItem, IsOnlyCheckedAndDraggedInTheTreeOfASelector) {
  fillAndShow(QxRoiTreeModel::SELECTOR_MODULE);
  EXPECT_EQ(item("a")->flags(0), kSelect | Qt::ItemIsUserCheckable | kDrag);
  EXPECT_EQ(item("a")->flags(1), kSelect);
  EXPECT_EQ(item("a")->flags(2), kSelect);
}

TEST_F(TreeItem, HasNoColorOfItsOwnInAGroup) {
  fillAndShow();
  EXPECT_EQ(item("c")->flags(1), kSelect);
  EXPECT_EQ(item("c")->flags(0), item("a")->flags(0));
  for (const int role : {Qt::DecorationRole, Qt::EditRole}) {
    EXPECT_FALSE(item("c")->data(1, role).isValid());
    EXPECT_FALSE(item("c")->data(2, role).isValid());
  }
}

// --- Data ---------------------------------------------------------------------------------------------------------

TEST_F(TreeItem, ShowsItsName) {
  fillAndShow();
  EXPECT_EQ(item("a")->data(0, Qt::DisplayRole), "a");
  EXPECT_EQ(item("a")->data(0, Qt::EditRole), "a");
  EXPECT_FALSE(item("a")->data(0, Qt::ToolTipRole).isValid());
  EXPECT_FALSE(item("a")->data(0, Qt::DecorationRole).isValid());
  EXPECT_FALSE(item("a")->data(3, Qt::DisplayRole).isValid());
}

TEST_F(TreeItem, ShowsAFolderForAGroup) {
  fillAndShow();
  ASSERT_TRUE(QFile::exists(HxResource::getRootDir() + "/share/png/TreeViewDirectory.png"));
  EXPECT_FALSE(item("group")->data(0, Qt::DecorationRole).value<QPixmap>().isNull());
}

TEST_F(TreeItem, ShowsItsColor) {
  fillAndShow();
  for (const int role : {Qt::DecorationRole, Qt::EditRole}) {
    EXPECT_EQ(item("a")->data(1, role).value<QColor>(), QColor::fromRgbF(0.5F, 0.25F, 1.0F));
  }
  EXPECT_FALSE(item("a")->data(1, Qt::DisplayRole).isValid());
  EXPECT_FALSE(model->getRoot()->getColor().isValid());
}

TEST_F(TreeItem, ShowsAColorThatIsNoneAsBlack) {
  fillAndShow();
  rois->getRoi("a")->setColor(McColor(std::nanf(""), 2, -1));
  EXPECT_EQ(item("a")->getColor(), QColor::fromRgbF(0, 1, 0));
}

TEST_F(TreeItem, ShowsAPreviewOfItsColormap) {
  fillAndShow();
  EXPECT_FALSE(item("a")->data(2, Qt::DecorationRole).isValid());
  const McHandle<HxColormap> colormap(new HxColormap);
  colormap->setEntries({{McColor(1, 0, 0), 0}, {McColor(1, 0, 0), 0}});
  item("a")->setColormap(colormap);
  EXPECT_EQ(item("a")->getColormap(), colormap.get());
  const QPixmap preview = item("a")->data(2, Qt::DecorationRole).value<QPixmap>();
  EXPECT_EQ(preview.size(), QSize(32, 15));
  EXPECT_EQ(preview.toImage(), colormap->getPixmap(32, 15, 4, true).toImage());
  rois->getRoi("a")->setAlphaEnabled(false);
  const QPixmap opaque = item("a")->data(2, Qt::DecorationRole).value<QPixmap>();
  EXPECT_EQ(opaque.toImage(), colormap->getPixmap(32, 15, 4, false).toImage());
  EXPECT_NE(opaque.toImage(), preview.toImage());
}

TEST_F(TreeItem, HasACheckBoxUnlessTheTreeIsThatOfASet) {
  fillAndShow(QxRoiTreeModel::ROIS_MODULE);
  EXPECT_FALSE(item("a")->data(0, Qt::CheckStateRole).isValid());
  EXPECT_TRUE(item("a")->setData(0, 0, Qt::CheckStateRole));
  EXPECT_TRUE(item("a")->isVisible(true));
  for (const auto kind : {QxRoiTreeModel::SELECTOR_MODULE, QxRoiTreeModel::FULL_MODULE}) {
    showSet(kind);
    EXPECT_EQ(item("a")->data(0, Qt::CheckStateRole), QVariant(2));
    EXPECT_TRUE(item("a")->setData(0, 1, Qt::CheckStateRole));
    EXPECT_EQ(item("a")->data(0, Qt::CheckStateRole), QVariant(0));
    EXPECT_TRUE(item("a")->setData(0, 2, Qt::CheckStateRole));
    EXPECT_EQ(item("a")->data(0, Qt::CheckStateRole), QVariant(2));
  }
}

TEST_F(TreeItem, IsHiddenWithItsGroup) {
  fillAndShow();
  item("group")->setVisible(false);
  EXPECT_TRUE(item("c")->isVisible(false));
  EXPECT_FALSE(item("c")->isVisible(true));
  EXPECT_TRUE(item("a")->isVisible(true));
  EXPECT_EQ(item("c")->data(0, Qt::CheckStateRole), QVariant(2));
}

TEST_F(TreeItem, HeadsItsColumns) {
  fillAndShow();
  std::vector<QString> heads;
  for (int i = 0; i < 4; ++i) heads.push_back(model->headerData(i, Qt::Horizontal).toString());
  EXPECT_THAT(heads, ElementsAre("Name", "Color", "Colormap", ""));
  EXPECT_FALSE(model->headerData(0, Qt::Vertical).isValid());
  EXPECT_FALSE(model->headerData(0, Qt::Horizontal, Qt::DecorationRole).isValid());
}

// --- Setting data -------------------------------------------------------------------------------------------------

TEST_F(TreeItem, TakesANameAndAColor) {
  fillAndShow();
  EXPECT_TRUE(item("a")->setData(0, "first", Qt::EditRole));
  EXPECT_TRUE(item("first")->setData(0, "second", Qt::DisplayRole));
  EXPECT_EQ(textOf(*rois), "second b group[c d]");
  EXPECT_TRUE(item("second")->setData(1, QColor(255, 0, 0), Qt::EditRole));
  EXPECT_EQ(rois->getRoi("second")->color(), McColor(1, 0, 0));
  EXPECT_TRUE(item("second")->setData(1, "blue", Qt::DecorationRole));
  EXPECT_EQ(rois->getRoi("second")->color(), McColor(0, 0, 1));
}

TEST_F(TreeItem, AgreesToWhateverIsSet) {
  fillAndShow();
  EXPECT_TRUE(item("a")->setData(2, 7, Qt::EditRole));
  EXPECT_TRUE(item("a")->setData(0, "x", Qt::ToolTipRole));
  EXPECT_TRUE(item("a")->setData(17, "x", Qt::EditRole));
  expectTree("a b group[c d]");
  EXPECT_TRUE(item("a")->setData(1, "no color", Qt::EditRole));
  EXPECT_EQ(rois->getRoi("a")->color(), McColor(0, 0, 0));
}

// --- Children -----------------------------------------------------------------------------------------------------

TEST_F(TreeItem, TakesChildrenAlone) {
  fillAndShow();
  QxRoiTreeItem root(rois, nullptr);
  auto* child = new QxRoiTreeItem(rois->getRoi("a"), nullptr, nullptr);
  EXPECT_TRUE(root.insertChild(5, child, false));
  EXPECT_EQ(root.child(0), child);
  EXPECT_EQ(child->parent(), &root);
  EXPECT_EQ(root.removeChild(-1, false), nullptr);
  EXPECT_EQ(root.removeChild(2, false), nullptr);
  const std::unique_ptr<QxRoiTreeItem> removed(root.removeChild(0, false));
  EXPECT_EQ(removed.get(), child);
  EXPECT_EQ(removed->parent(), nullptr);
  EXPECT_EQ(textOf(*rois), "a b group[c d]");
}

TEST_F(TreeItem, TakesChildrenTogetherWithTheSet) {
  fillAndShow();
  QxRoiTreeItem root(rois, nullptr);
  EXPECT_TRUE(root.insertChild(1, new QxRoiTreeItem(makeMask("new"), nullptr, nullptr), true));
  EXPECT_EQ(textOf(*rois), "a new b group[c d]");
  delete root.removeChild(0, true);
  EXPECT_EQ(textOf(*rois), "a b group[c d]");
  auto* taken = new QxRoiTreeItem(makeMask("a"), nullptr, nullptr);
  EXPECT_EQ(refusalOf([&] { root.insertChild(0, taken, true); }),
            "A roi named a has already been inserted inside this HxRois (atlas).");
  EXPECT_EQ(root.childCount(), 0);
  delete taken;
}

TEST_F(TreeItem, RefusesWhatCannotStandBelowIt) {
  fillAndShow();
  QxRoiTreeItem child(makeGroup("inner"), nullptr, nullptr);
  EXPECT_FALSE(item("group")->insertChild(0, &child, true));
  EXPECT_FALSE(item("a")->insertChild(0, &child, true));
  QxRoiTreeItem mask(makeMask("new"), nullptr, nullptr);
  EXPECT_FALSE(item("a")->insertChild(0, &mask, true));
  expectTree("a b group[c d]");
}

TEST_F(TreeItem, StopsForTheChildBehindTheLast) {
  fillAndShow();
  EXPECT_DEATH(model->getRoot()->removeChild(3, false), "index out of range");
}

// --- Replacing ----------------------------------------------------------------------------------------------------

TEST_F(TreeItem, ReplacesItsRoi) {
  fillAndShow();
  item("b")->replaceRoi(makeMask("new"));
  item("d")->replaceRoi(makeMask("member"));
  expectTree("a new group[c member]");
  EXPECT_EQ(item("new")->getRoi(), rois->getRoi("new"));
}

TEST_F(TreeItem, KeepsItsRoiWhenAnotherIsRefused) {
  fillAndShow();
  EXPECT_EQ(refusalOf([&] { item("b")->replaceRoi(makeMask("c")); }),
            "A roi named c has already been inserted inside this HxRois (atlas).");
  EXPECT_EQ(refusalOf([&] { item("d")->replaceRoi(makeMask("c")); }), "Mask already inserted inside this group.");
  item("d")->replaceRoi(makeGroup("inner"));
  expectTree("a b group[c d]");
  EXPECT_EQ(item("d")->getRoi(), rois->getRoi("d"));
}
