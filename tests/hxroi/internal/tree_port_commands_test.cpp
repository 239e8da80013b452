#include "quarn/kernel/script/HxCompletion.h"
#include "tests/hxroi/internal/TreePortTest.h"

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;

namespace {

class TreePortCommands : public TreePortTest {
protected:
  TreePortCommands() {
    addMask("a");
    addGroup("G", {"m"});
    port().setHxRois(rois);
    settle();
  }
};

TEST_F(TreePortCommands, SetAndTellVisibilityByNameAndIdentifier) {
  EXPECT_EQ(evaluate("chooser roiVisibility isRoiVisible a"), "1");
  EXPECT_EQ(evaluate("chooser roiVisibility setRoiVisible a 0"), "");
  EXPECT_EQ(port().getNewFlags(), 1024U);
  EXPECT_EQ(owner->newEvaluations(), 0) << "a command only marks";
  EXPECT_EQ(evaluate("chooser roiVisibility isRoiVisible a"), "0");
  const std::string id = rois->getMask("a")->id();
  EXPECT_EQ(evaluate(QString("chooser roiVisibility setRoiVisible %1 1").arg(id.c_str())), "");
  EXPECT_EQ(evaluate(QString("chooser roiVisibility isRoiVisible %1").arg(id.c_str())), "1");
}

TEST_F(TreePortCommands, CallAMaskOfAHiddenGroupInvisible) {
  EXPECT_EQ(evaluate("chooser roiVisibility setRoiVisible G 0; chooser roiVisibility isRoiVisible m"), "0");
  EXPECT_THAT(checked(), ElementsAre("a", "m"));
  EXPECT_EQ(evaluate("chooser roiVisibility setRoiVisible G 1; chooser roiVisibility isRoiVisible m"), "1");
}

TEST_F(TreePortCommands, TakeAnyNumberButNoughtForVisible) {
  for (const char* word : {"0", "00", "x", "{}", "0.9"}) {
    port().setAllRoisVisible(true);
    EXPECT_EQ(evaluate(QString("chooser roiVisibility setRoiVisible a %1").arg(word)), "");
    EXPECT_FALSE(port().isRoiVisible("a")) << word;
  }
  for (const char* word : {"1", "-1", "7", "1x", "99999999999999999999"}) {
    port().setAllRoisVisible(false);
    EXPECT_EQ(evaluate(QString("chooser roiVisibility setRoiVisible a %1").arg(word)), "");
    EXPECT_TRUE(port().isRoiVisible("a")) << word;
  }
}

TEST_F(TreePortCommands, IgnoreUnknownNames) {
  for (const char* name : {"b", "{}", "A", "a\\ ", "%s%n", "\\u00e4"}) {
    EXPECT_EQ(evaluate(QString("chooser roiVisibility setRoiVisible %1 0").arg(name)), "") << name;
    EXPECT_EQ(evaluate(QString("chooser roiVisibility isRoiVisible %1").arg(name)), "0") << name;
  }
  EXPECT_THAT(checked(), ElementsAre("a", "G", "m"));
}

TEST_F(TreePortCommands, WithTooFewWordsTellTheirSyntax) {
  const char* const set = "syntax: setRoiVisible <name_or_id> <new_visibility>";
  EXPECT_THAT(evaluate("chooser roiVisibility setRoiVisible"), HasSubstr("error"));
  EXPECT_THAT(console.consoleEntries, ElementsAre(set));
  console.clear();
  EXPECT_THAT(evaluate("chooser roiVisibility setRoiVisible a"), HasSubstr("error"));
  EXPECT_THAT(console.consoleEntries, ElementsAre(set));
  console.clear();
  EXPECT_THAT(evaluate("chooser roiVisibility isRoiVisible"), HasSubstr("error"));
  EXPECT_THAT(console.consoleEntries, ElementsAre("syntax: isRoiVisible <name_or_id>"));
  EXPECT_FALSE(port().isNew());
}

TEST_F(TreePortCommands, AreListedByHelp) {
  EXPECT_EQ(evaluate("chooser roiVisibility help"), "");
  EXPECT_THAT(console.consoleText(), HasSubstr("setRoiVisible NAME_OR_ID NUMBER"));
  EXPECT_THAT(console.consoleText(), HasSubstr("isRoiVisible NAME_OR_ID"));
  EXPECT_THAT(console.consoleText(), HasSubstr("getState"));
}

TEST_F(TreePortCommands, AreCompletedWithNames) {
  EXPECT_THAT(HxCompletion::wordsAfter({"chooser", "roiVisibility", "setRoiVisible"}), ElementsAre("G", "a", "m"));
  EXPECT_THAT(HxCompletion::wordsAfter({"chooser", "roiVisibility", "isRoiVisible"}), ElementsAre("G", "a", "m"));
}

TEST_F(TreePortCommands, OfEveryPortWorkToo) {
  EXPECT_EQ(evaluate("chooser roiVisibility getLabel"), "Roi Visibility");
  EXPECT_EQ(evaluate("chooser roiVisibility hide; chooser roiVisibility isVisible"), "0");
  EXPECT_THAT(evaluate("chooser roiVisibility setRoiVisibl a 0"), HasSubstr("error"));
}

TEST_F(TreePortCommands, BelongToSelectorsOnly) {
  EXPECT_THAT(evaluate("rois roiVisibility setRoiVisible a 0"), HasSubstr("error"));
  EXPECT_THAT(console.consoleText(), HasSubstr("has no command \"setRoiVisible\""));
  EXPECT_EQ(evaluate("rois roiVisibility help"), "");
  EXPECT_THAT(console.consoleText(), Not(HasSubstr("isRoiVisible <")));
}

}  // namespace
