#include <gmock/gmock.h>

#include "quarn/kernel/app/HxRecordingSink.h"
#include "quarn/kernel/fields/HxTable.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/kernel/ports/HxPort.h"
#include "quarn/kernel/script/HxCompletion.h"

using ::testing::AllOf;
using ::testing::Contains;
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

TEST_F(Completion, IsEmptyWhereAnyTextMayFollow) {
  EXPECT_THAT(HxCompletion::wordsAfter({}), IsEmpty());
  EXPECT_THAT(HxCompletion::wordsAfter({"load"}), IsEmpty());
  EXPECT_THAT(HxCompletion::wordsAfter({"nobody"}), IsEmpty());
  EXPECT_THAT(HxCompletion::wordsAfter({"t", "getClass", "x"}), IsEmpty());
}

}  // namespace
