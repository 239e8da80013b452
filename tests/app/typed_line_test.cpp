#include <gmock/gmock.h>

#include "quarn/app/completions.h"
#include "quarn/app/typedLine.h"
#include "quarn/kernel/fields/HxTable.h"
#include "quarn/kernel/objects/HxObjectPool.h"

namespace {

using quarn::app::completions;
using quarn::app::readTypedLine;
using ::testing::ElementsAre;
using ::testing::IsEmpty;

QStringList wordsOf(const char* line) {
  return readTypedLine(line).words;
}

TEST(TypedLine, HasTheFinishedWordsOfTheLastCommand) {
  EXPECT_THAT(wordsOf(""), IsEmpty());
  EXPECT_THAT(wordsOf("  atlas   data "), ElementsAre("atlas", "data"));
  EXPECT_THAT(wordsOf("set x 1; atlas "), ElementsAre("atlas"));
  EXPECT_THAT(wordsOf("set x [atlas data "), ElementsAre("atlas", "data"));
  EXPECT_THAT(wordsOf("puts \"it is [atlas data "), ElementsAre("atlas", "data"));
  EXPECT_THAT(wordsOf("foreach m $all {atlas "), ElementsAre("atlas"));
  EXPECT_THAT(wordsOf("atlas [lindex $all 0] "), ElementsAre("atlas", "[lindex $all 0]"));
}

TEST(TypedLine, TakesQuotedWordsForOne) {
  EXPECT_THAT(wordsOf("preferences set \"Temporary Directory\" "),
              ElementsAre("preferences", "set", "Temporary Directory"));
  EXPECT_THAT(wordsOf("preferences set {Temporary Directory} "),
              ElementsAre("preferences", "set", "Temporary Directory"));
  EXPECT_THAT(wordsOf("preferences set Temporary\\ Directory "),
              ElementsAre("preferences", "set", "Temporary Directory"));
  EXPECT_THAT(wordsOf("preferences get \""), ElementsAre("preferences", "get"));
  EXPECT_THAT(wordsOf("a {b {c d} e} "), ElementsAre("a", "b {c d} e"));
  EXPECT_THAT(wordsOf("a\\"), ElementsAre("a"));
}

TEST(TypedLine, KnowsWhenAQuotationMarkIsOpen) {
  for (const char* line : {"a \"", "a \"b", "a \"b c", "a \"[b] c", "[a \""}) {
    EXPECT_TRUE(readTypedLine(line).isQuoted) << line;
  }
  for (const char* line : {"", "a ", "a \"b\"", "a \"b\" ", "a b\"c", "a \"[b "}) {
    EXPECT_FALSE(readTypedLine(line).isQuoted) << line;
  }
}

TEST(Completions, QuoteWhatTclWouldTakeForSeveralWords) {
  const QStringList get{"preferences", "get"};
  EXPECT_THAT(completions({get}, "Temp"), ElementsAre("\"Temporary Directory\""));
  EXPECT_THAT(completions({get, true}, "Temporary D"), ElementsAre("Temporary Directory"));
  EXPECT_THAT(completions({{"preferences"}}, "ge"), ElementsAre("get"));
  EXPECT_THAT(completions({{"preferences"}, true}, "ge"), ElementsAre("get"));
}

TEST(Completions, QuoteWhatTclWouldReplace) {
  const McHandle<HxTable> table(new HxTable);
  table->addColumn("a $b [c]", HxTable::Kind::Integer);
  HxObjectPool::instance().add(table, "t");
  EXPECT_THAT(completions({{"t", "getCell", "0"}}, "a"), ElementsAre("{a $b [c]}"));
  EXPECT_THAT(completions({{"t", "getCell", "0"}, true}, "a"), IsEmpty());
  HxObjectPool::instance().clear();
}

}  // namespace
