#include <QDataStream>
#include <QIODevice>
#include <QMimeData>
#include <gmock/gmock.h>
#include <memory>

#include "hxroi/internal/RoiDrop.h"
#include "tests/hxroi/internal/TreeTest.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class RoiDrop : public TreeTest {
protected:
  static std::unique_ptr<QMimeData> names(const QStringList& list) {
    return std::unique_ptr<QMimeData>(hxroi::draggedNames(list));
  }

  bool drop(const QStringList& list, int row, const QModelIndex& parent) {
    log->take();
    return model->dropMimeData(names(list).get(), Qt::MoveAction, row, 0, parent);
  }

  bool dropBytes(const QByteArray& bytes) {
    QMimeData data;
    data.setData("application/vnd.text.list", bytes);
    return model->dropMimeData(&data, Qt::MoveAction, 0, 0, {});
  }

  /// What the last drop made current and selected; 35 is ClearAndSelect for whole rows.
  std::vector<std::string> selected() {
    std::vector<std::string> texts;
    for (const std::string& text : log->take()) {
      if (text.starts_with("update")) texts.push_back(text);
    }
    return texts;
  }
};

// --- Dragging -----------------------------------------------------------------------------------------------------

TEST_F(RoiDrop, DragsNamesOnce) {
  fillAndShow();
  const std::unique_ptr<QMimeData> data(
      model->mimeData({at("c"), at("c", 1), {}, at("a", 2), at("c", 2), at("group")}));
  EXPECT_THAT(data->formats(), ElementsAre("application/vnd.text.list"));
  QByteArray expected;
  QDataStream stream(&expected, QIODevice::WriteOnly);
  stream << QString("c") << QString("a") << QString("group");
  EXPECT_EQ(data->data("application/vnd.text.list"), expected);
  EXPECT_THAT(hxroi::namesOf(*data), ElementsAre("c", "a", "group"));
}

// --- Where it lands -----------------------------------------------------------------------------------------------

TEST_F(RoiDrop, MovesBetweenRowsOfTheTopLevel) {
  fillAndShow();
  EXPECT_TRUE(drop({"group"}, 0, {}));
  expectTree("group[c d] a b");
  EXPECT_TRUE(drop({"group"}, 2, {}));
  expectTree("a group[c d] b");
  EXPECT_THAT(selected(), ElementsAre("updateCurrentIndex group 35", "updateSelection group 35"));
}

TEST_F(RoiDrop, MovesToTheEndOfTheTopLevel) {
  fillAndShow();
  rois->addRoi(makeGroup("other", {"e"}));
  showSet();
  EXPECT_TRUE(drop({"group"}, -1, {}));
  expectTree("a b other[e] group[c d]");
  EXPECT_TRUE(drop({"e"}, -1, {}));
  expectTree("a b other[] group[c d] e");
}

TEST_F(RoiDrop, MovesOntoAGroup) {
  fillAndShow();
  EXPECT_TRUE(drop({"a"}, -1, at("group")));
  expectTree("b group[c d a]");
  EXPECT_THAT(selected(), ElementsAre("updateCurrentIndex a 35", "updateSelection a 35"));
  EXPECT_TRUE(drop({"b"}, 1, at("group")));
  expectTree("group[c b d a]");
}

TEST_F(RoiDrop, AimsAtTheGapInTheSameGroup) {
  rois->addRoi(makeGroup("group", {"a", "b", "c", "d"}));
  showSet();
  EXPECT_TRUE(drop({"a"}, 3, at("group")));
  expectTree("group[b c a d]");
  EXPECT_THAT(selected(), ElementsAre("updateCurrentIndex a 35", "updateSelection a 35"));
  EXPECT_TRUE(drop({"d"}, 0, at("group")));
  expectTree("group[d b c a]");
  EXPECT_TRUE(drop({"b"}, 1, at("group")));
  EXPECT_TRUE(drop({"b"}, 2, at("group")));
  expectTree("group[d b c a]");
}

TEST_F(RoiDrop, KeepsTheOrderOfSeveral) {
  fillAndShow();
  addMask("e");
  showSet();
  EXPECT_TRUE(drop({"e", "a", "b"}, 1, at("group")));
  expectTree("group[c e a b d]");
  EXPECT_THAT(selected(), ElementsAre("updateCurrentIndex b 35", "updateSelection e a b 35"));
  EXPECT_TRUE(drop({"c", "d"}, 0, {}));
  expectTree("c d group[e a b]");
}

TEST_F(RoiDrop, LandsInAGroupThatMovesUp) {
  fillAndShow();
  // The group is at another row once the masks above it have gone into it.
  EXPECT_TRUE(drop({"a", "b"}, 0, at("group")));
  expectTree("group[a b c d]");
}

// --- What is refused ----------------------------------------------------------------------------------------------

TEST_F(RoiDrop, TakesNothingOntoAMask) {
  fillAndShow();
  EXPECT_FALSE(drop({"b"}, -1, at("a")));
  EXPECT_FALSE(drop({"b"}, 0, at("c")));
  EXPECT_THAT(log->take(), IsEmpty());
  expectTree("a b group[c d]");
}

TEST_F(RoiDrop, StopsAtAGroupOntoAGroup) {
  fillAndShow();
  rois->addRoi(makeGroup("other"));
  showSet();
  EXPECT_FALSE(drop({"a", "group", "b"}, -1, at("other")));
  EXPECT_THAT(selected(), IsEmpty());
  expectTree("b group[c d] other[a]");
  EXPECT_FALSE(drop({"other"}, 0, at("other")));
  expectTree("b group[c d] other[a]");
}

TEST_F(RoiDrop, ShowsARefusalOfTheSet) {
  fillAndShow();
  const McHandle<HxRois> other(new HxRois);
  other->setLabel("other");
  other->addRoi(rois->getRoi("group"));
  other->addRoi(makeMask("b"));
  EXPECT_FALSE(drop({"a", "b"}, -1, at("group")));
  EXPECT_THAT(console.errors, ElementsAre("A roi named b has already been inserted inside this HxRois (other)."));
  expectTree("b group[c d a]");
}

// --- Bad input ----------------------------------------------------------------------------------------------------

TEST_F(RoiDrop, IgnoresUnknownNames) {
  fillAndShow();
  EXPECT_TRUE(drop({"nobody", "", "atlas", "A", QString(100000, 'x'), QString::fromUtf8("肝臓\n%1%s")}, 0, {}));
  EXPECT_THAT(selected(), ElementsAre("updateCurrentIndex - 35", "updateSelection 35"));
  EXPECT_TRUE(drop({"nobody", "b"}, 0, {}));
  expectTree("b a group[c d]");
}

TEST_F(RoiDrop, TakesForeignDataForNothing) {
  fillAndShow();
  QMimeData data;
  data.setText("a");
  EXPECT_FALSE(model->dropMimeData(&data, Qt::CopyAction, 0, 0, {}));
  EXPECT_FALSE(model->dropMimeData(nullptr, Qt::CopyAction, 0, 0, {}));
  EXPECT_THAT(log->take(), IsEmpty());
}

TEST_F(RoiDrop, ReadsWhatIsWholeOfDamagedData) {
  fillAndShow();
  const QByteArray whole = names({"b", "group"})->data("application/vnd.text.list");
  for (int length = 0; length <= whole.size(); ++length) {
    EXPECT_TRUE(dropBytes(whole.left(length)));
    const bool one = length >= 6;
    EXPECT_EQ(textOf(*model), length == whole.size() ? "b group[c d] a" : one ? "b a group[c d]" : "a b group[c d]");
    EXPECT_EQ(textOf(*model), textOf(*rois));
  }
}

TEST_F(RoiDrop, SurvivesHostileLengths) {
  fillAndShow();
  for (const char* hex : {"fffffffe", "7ffffffe", "00000003006100", "ffffffff", "fffffffeffffffffffffffff"}) {
    EXPECT_TRUE(dropBytes(QByteArray::fromHex(hex))) << hex;
  }
  expectTree("a b group[c d]");
}

TEST_F(RoiDrop, AppendsAtRowsOutside) {
  fillAndShow();
  EXPECT_TRUE(drop({"a"}, 1000, {}));
  expectTree("b group[c d] a");
  EXPECT_TRUE(drop({"b"}, -7, at("group")));
  expectTree("group[c d b] a");
}

TEST_F(RoiDrop, FindsNothingWithoutSet) {
  showSet();
  model->setupModelData(nullptr);
  EXPECT_TRUE(drop({"a"}, 0, {}));
  QxRoiTreeModel fresh(nullptr, QxRoiTreeModel::ROIS_MODULE);
  EXPECT_FALSE(fresh.dropMimeData(names({"a"}).get(), Qt::MoveAction, 0, 0, {}));
}
