#include <gmock/gmock.h>

#include "quarn/kernel/app/HxRecordingSink.h"
#include "quarn/kernel/fields/HxTable.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/kernel/ports/HxPort.h"
#include "quarn/kernel/script/HxCompletion.h"

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

namespace {

class Completion : public ::testing::Test {
protected:
  Completion() { HxObjectPool::instance().add(table, "t"); }
  ~Completion() override { HxObjectPool::instance().clear(); }

  McHandle<HxTable> table{new HxTable};
  const QString port = table->ports().front()->getName();
  HxRecordingSink console;
};

TEST_F(Completion, OfAnObjectAreItsCommandsAndPorts) {
  const QStringList words = HxCompletion::wordsAfter({"t"});
  EXPECT_THAT(words, AllOf(Contains("getClass"), Contains("setLabel"), Contains("save"), Contains(port)));
  EXPECT_THAT(words, Not(Contains("PORT")));
  EXPECT_TRUE(std::is_sorted(words.begin(), words.end()));
  EXPECT_THAT(console.consoleEntries, IsEmpty());
}

TEST_F(Completion, OfAPortAreItsCommands) {
  EXPECT_THAT(HxCompletion::wordsAfter({"t", port}), AllOf(Contains("connect"), Contains("source")));
  EXPECT_THAT(HxCompletion::wordsAfter({"t", port, "connect"}), Contains("t"));
}

TEST_F(Completion, OfHostCommandsAreWhatTheyTake) {
  EXPECT_THAT(HxCompletion::wordsAfter({"create"}), Contains("HxTable"));
  EXPECT_THAT(HxCompletion::wordsAfter({"remove", "x"}), Contains("t"));
  EXPECT_THAT(HxCompletion::wordsAfter({"help"}), Contains("preferences"));
  EXPECT_THAT(HxCompletion::wordsAfter({"preferences"}), AllOf(Contains("get"), Contains("set")));
}

TEST_F(Completion, OfOptionsAreThoseLeftAndTheirValues) {
  EXPECT_THAT(HxCompletion::wordsAfter({"load", "x.nii"}),
              ElementsAre("-as", "-colors", "-kind", "-labels", "-values"));
  EXPECT_THAT(HxCompletion::wordsAfter({"load", "x.nii", "-kind"}), ElementsAre("label", "scalar"));
  EXPECT_THAT(HxCompletion::wordsAfter({"load", "x.nii", "-as"}), IsEmpty());
  EXPECT_THAT(HxCompletion::wordsAfter({"load", "x.nii", "-as", "brain", "-kind", "label"}),
              ElementsAre("-colors", "-labels", "-values"));
  EXPECT_THAT(HxCompletion::wordsAfter({"recover"}), ElementsAre("discard", "list", "load"));
}

TEST_F(Completion, OfThirdWordsIsWhatTheyStandFor) {
  table->addColumn("voxels", HxTable::Kind::Integer);
  table->parameters.set("Note", "x");
  EXPECT_THAT(HxCompletion::wordsAfter({"t", "getCell", "0"}), ElementsAre("voxels"));
  EXPECT_THAT(HxCompletion::wordsAfter({"t", "parameters"}), AllOf(Contains("get"), Contains("names")));
  EXPECT_THAT(HxCompletion::wordsAfter({"t", "parameters", "get"}), ElementsAre("Note"));
  EXPECT_THAT(HxCompletion::wordsAfter({"t", "help"}), AllOf(Contains("getRow"), Not(Contains("PORT"))));
  EXPECT_THAT(HxCompletion::wordsAfter({"preferences", "get"}), Contains("Temporary Directory"));
  EXPECT_THAT(HxCompletion::wordsAfter({"help"}), AllOf(Contains("load"), Contains("t")));
}

TEST_F(Completion, RunsNothing) {
  table->setModified(0);
  for (const QString& word : HxCompletion::wordsAfter({"t"})) HxCompletion::wordsAfter({"t", word});
  EXPECT_FALSE(table->isModified());
  EXPECT_THAT(console.consoleEntries, IsEmpty());
}

TEST_F(Completion, IsEmptyWhereAnyTextMayFollow) {
  EXPECT_THAT(HxCompletion::wordsAfter({}), IsEmpty());
  EXPECT_THAT(HxCompletion::wordsAfter({"load"}), IsEmpty());
  EXPECT_THAT(HxCompletion::wordsAfter({"nobody"}), IsEmpty());
  EXPECT_THAT(HxCompletion::wordsAfter({"t", "getClass", "x"}), IsEmpty());
}

}  // namespace
