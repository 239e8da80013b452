#include <QElapsedTimer>
#include <random>

#include "tests/hxroi/internal/TreePortTest.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

class TreePortState : public TreePortTest {
protected:
  void addRois() {
    a = addMask("a");
    group = addGroup("G", {"m", "n"});
    b = addMask("b");
    port().setHxRois(rois);
    settle();
  }

  Mask* a = nullptr;
  Mask* b = nullptr;
  Group* group = nullptr;
};

TEST_F(TreePortState, OfTheOtherKindsIsLeftAlone) {
  for (const auto module : {HxPortRoiTreeView::ROIS_MODULE, HxPortRoiTreeView::FULL_MODULE}) {
    const McHandle<TreeOwner> other(new TreeOwner(module));
    other->port.setHxRois(rois);
    QString text = "as it was";
    other->port.getState(text);
    EXPECT_EQ(text, "as it was");
  }
}

TEST_F(TreePortState, OfAnEmptySetIsOneWord) {
  EXPECT_EQ(state(), "visibility") << "without a set";
  port().setHxRois(rois);
  EXPECT_EQ(state(), "visibility");
}

TEST_F(TreePortState, NamesRoisByIdentifierGroupsBeforeTheirMasks) {
  addRois();
  port().setRoiVisible(false, "G");
  port().setRoiVisible(false, "n");
  EXPECT_EQ(state(), "visibility " + a->id() + " 1 " + group->id() + " 0 " + group->getMask("m")->id() + " 1 " +
                         group->getMask("n")->id() + " 0 " + b->id() + " 1");
}

TEST_F(TreePortState, ChecksWhatItNamesAndNothingElse) {
  addRois();
  EXPECT_TRUE(port().setState("visibility a 1"));
  EXPECT_THAT(checked(), ElementsAre("a"));
  EXPECT_EQ(port().getNewFlags(), 1024U);
  EXPECT_EQ(owner->newEvaluations(), 0);
}

TEST_F(TreePortState, SurvivesRenaming) {
  addRois();
  port().setRoiVisible(false, "a");
  port().setRoiVisible(false, "m");
  const QString saved = QString::fromStdString(state());
  a->setName("x");
  group->getMask("m")->setName("y");
  port().setAllRoisVisible(true);
  EXPECT_TRUE(port().setState(saved));
  EXPECT_THAT(checked(), ElementsAre("G", "n", "b"));
}

TEST_F(TreePortState, NamesMasksOfGroupsByIdentifierAlone) {
  addRois();
  port().setState("visibility G 1 m 1 a 1");
  EXPECT_THAT(checked(), ElementsAre("a", "G")) << "a member that is named by its name is hidden again";
  port().setState(QString("visibility G 1 %1 1").arg(group->getMask("m")->id().c_str()));
  EXPECT_THAT(checked(), ElementsAre("G", "m"));
}

TEST_F(TreePortState, ThatBeginsOtherwiseChangesNothing) {
  addRois();
  for (const char* text : {"", " ", "visible a 0", "Visibility a 0", "visibilitya 0", "a 0", "\"visibility\" a 0"}) {
    EXPECT_TRUE(port().setState(text)) << text;
    EXPECT_THAT(checked(), ElementsAre("a", "G", "m", "n", "b")) << text;
    EXPECT_FALSE(port().isNew()) << text;
  }
}

TEST_F(TreePortState, MayBePartedByAnyBlanks) {
  addRois();
  port().setState(QString("\t visibility\na\r\n1\v%1b%1%1 7 ").arg(QChar(QChar::Nbsp)));
  EXPECT_THAT(checked(), ElementsAre("a", "b"));
}

TEST_F(TreePortState, TakesWhatIsNoNumberForNought) {
  addRois();
  for (const char* number : {"x", "0x1", "1.5", "", "99999999999", "one"}) {
    port().setAllRoisVisible(true);
    port().setState(QString("visibility a %1 ").arg(number));
    EXPECT_THAT(checked(), IsEmpty()) << number;
  }
  port().setState("visibility a -1");
  EXPECT_THAT(checked(), ElementsAre("a"));
}

/// As the text says it, word by word.
std::set<std::string> namedVisible(const QString& text) {
  std::set<std::string> words;
  const QStringList parts = text.split(' ');
  for (qsizetype i = 1; i + 1 < parts.size(); i += 2)
    if (parts[i + 1] == "1") words.insert(parts[i].toStdString());
  return words;
}

TEST_F(TreePortState, CutAnywhereChecksAtMostWhatItStillNames) {
  addRois();
  port().setRoiVisible(false, "b");
  const QString whole = QString::fromStdString(state());
  const std::vector<std::pair<std::string, std::string>> nodes{{"a", a->id()},
                                                               {"G", group->id()},
                                                               {"m", group->getMask("m")->id()},
                                                               {"n", group->getMask("n")->id()},
                                                               {"b", b->id()}};
  for (qsizetype length = 0; length <= whole.size(); ++length) {
    port().setAllRoisVisible(true);
    const QString cut = whole.left(length);
    ASSERT_TRUE(port().setState(cut));
    std::vector<std::string> expected;
    for (const auto& [name, id] : nodes)
      if (length < 10 || namedVisible(cut).count(id)) expected.push_back(name);
    ASSERT_EQ(checked(), expected) << "cut at " << length;
  }
}

TEST_F(TreePortState, ComesBackAsItWasSaved) {
  addRois();
  const unsigned int seed = std::random_device()();
  SCOPED_TRACE(seed);
  std::mt19937 random(seed);
  for (int round = 0; round < 50; ++round) {
    for (const char* name : {"a", "G", "m", "n", "b"}) port().setRoiVisible(random() % 2, name);
    const auto before = checked();
    const QString saved = QString::fromStdString(state());
    for (const char* name : {"a", "G", "m", "n", "b"}) port().setRoiVisible(random() % 2, name);
    port().setState(saved);
    ASSERT_EQ(checked(), before);
    ASSERT_EQ(state(), saved.toStdString());
  }
}

TEST_F(TreePortState, ComesBackForIdentifiersThatAreNoWords) {
  addRois();
  a->setId("two words");
  b->setId("");
  group->getMask("m")->setId("tab\there");
  port().setRoiVisible(false, "n");
  port().setRoiVisible(false, "b");
  const QString saved = QString::fromStdString(state());
  port().setAllRoisVisible(true);
  port().setState(saved);
  EXPECT_THAT(checked(), ElementsAre("a", "G", "m"));
}

TEST_F(TreePortState, OfAMillionWordsIsReadInNoTime) {
  addRois();
  QString text = "visibility";
  for (int i = 0; i < 500000; ++i) text += QString(" unknown%1 1").arg(i);
  QElapsedTimer timer;
  timer.start();
  port().setState(text + " a 1");
  EXPECT_LT(timer.elapsed(), 5000);
  EXPECT_THAT(checked(), ElementsAre("a"));
}

TEST_F(TreePortState, GoesThroughTheScriptOfANetwork) {
  addRois();
  port().setRoiVisible(false, "a");
  EXPECT_EQ(evaluate("set saved [chooser roiVisibility getState]"), state());
  port().setAllRoisVisible(true);
  EXPECT_EQ(evaluate("chooser roiVisibility setState $saved"), "");
  EXPECT_THAT(checked(), ElementsAre("G", "m", "n", "b"));
  EXPECT_EQ(evaluate("chooser roiVisibility setState nonsense"), "");
}

}  // namespace
