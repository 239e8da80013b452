#include <gmock/gmock.h>

#include "hxroi/internal/ItemRename.h"
#include "tests/hxroi/internal/TreeTest.h"

class ItemRename : public TreeTest {
protected:
  std::string renamed(const char* name, const QString& text) {
    QxRoiTreeItem* node = item(name);
    node->setName(text);
    const std::string result = node->getName().toStdString();
    EXPECT_EQ(rois->getRoi(result), node->getRoi());
    node->setName(name);
    return result;
  }
};

TEST_F(ItemRename, TakesAFreeName) {
  fillAndShow();
  EXPECT_EQ(renamed("a", "liver"), "liver");
  EXPECT_EQ(renamed("group", "organs"), "organs");
  EXPECT_EQ(renamed("c", "left-kidney_2"), "left-kidney_2");
}

TEST_F(ItemRename, ReplacesWhatIsNotLegal) {
  fillAndShow();
  EXPECT_EQ(renamed("a", "left kidney"), "left_kidney");
  EXPECT_EQ(renamed("a", QString::fromUtf8("Müller")), "M_ller");
  EXPECT_EQ(renamed("a", QString::fromUtf8("肝臓")), "__");
  EXPECT_EQ(renamed("a", "a/../b"), "a____b");
}

TEST_F(ItemRename, AltersATakenName) {
  fillAndShow();
  EXPECT_EQ(renamed("a", "b"), "b0");
  EXPECT_EQ(renamed("a", "C"), "C0");
  EXPECT_EQ(renamed("c", "group"), "group0");
}

TEST_F(ItemRename, TakesTheNextFreeNameForNone) {
  fillAndShow();
  EXPECT_EQ(renamed("a", ""), "ROI0");
  EXPECT_EQ(renamed("c", QString()), "ROI0");
  EXPECT_EQ(renamed("group", ""), "Group0");
  addMask("ROI0");
  EXPECT_EQ(renamed("a", ""), "ROI1");
}

TEST_F(ItemRename, DoesNothingForTheSameName) {
  fillAndShow();
  rois->fire(1);
  item("a")->setName("a");
  EXPECT_FALSE(rois->isNew());
}

TEST_F(ItemRename, MakesALegalNameOfAnything) {
  fillAndShow();
  const QString hostile[] = {QString(5000, 'x'),
                             QString("a") + QChar(0) + "b",
                             "%1%n%s",
                             "\n\r\t",
                             "../../../etc",
                             "[exec rm]; $x \"\\",
                             QChar(0xD800),
                             QString(QChar(0x7F)),
                             " ",
                             "-",
                             "_",
                             "007"};
  for (const QString& text : hostile) {
    ASSERT_TRUE(model->setData(at("a"), text)) << text.toStdString();
    const std::string name = model->data(model->index(0, 0)).toString().toStdString();
    EXPECT_EQ(Roi::fixedName(name), name);
    EXPECT_NE(rois->getRoi(name), nullptr);
    EXPECT_EQ(name.size(), static_cast<std::size_t>(text.size()));
    model->setData(model->index(0, 0), "a");
  }
  expectTree("a b group[c d]");
  EXPECT_TRUE(console.errors.empty());
}

TEST_F(ItemRename, LabelsTheSet) {
  fillAndShow();
  model->getRoot()->setName("brain %1");
  EXPECT_EQ(rois->getLabel(), "brain %1");
  EXPECT_EQ(model->getRoot()->getName(), "brain %1");
}

TEST_F(ItemRename, LeavesANodeWithoutRoiAlone) {
  QxRoiTreeItem nothing(static_cast<HxRois*>(nullptr), nullptr);
  nothing.setName("a");
  EXPECT_EQ(nothing.getName(), "Unknown");
}

TEST_F(ItemRename, ShowsTheRefusalOfAnotherSet) {
  fillAndShow();
  const McHandle<HxRois> other(new HxRois);
  other->setLabel("other");
  other->addRoi(rois->getRoi("a"));
  other->addRoi(makeMask("taken"));
  const QxRoiTreeItem* node = item("a");
  EXPECT_FALSE(model->setData(at("a"), "taken"));
  EXPECT_THAT(console.errors,
              ::testing::ElementsAre("A roi named taken has already been inserted inside this HxRois (other)."));
  EXPECT_EQ(node->getName(), "a");
}
