#include <gmock/gmock.h>
#include <vector>

#include "quarn/kernel/app/HxRecordingSink.h"
#include "quarn/kernel/script/HxCommands.h"
#include "quarn/kernel/script/HxInterpreter.h"
#include "tests/kernel/CommaLocale.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

class Commands : public ::testing::Test {
protected:
  void SetUp() override {
    getCmdInfo().clear();
    Tcl_ResetResult(interp());
  }
  void TearDown() override { getCmdInfo().clear(); }

  static Tcl_Interp* interp() { return HxInterpreter::instance().tclInterp(); }

  template <class Function>
  int with(std::vector<std::string> words, Function function) {
    std::vector<char*> argv;
    for (std::string& word : words) argv.push_back(word.data());
    argv.push_back(nullptr);
    return function(static_cast<int>(words.size()), argv.data());
  }

  int help(const char* word, bool wellFormed, std::vector<std::string> words) {
    return with(std::move(words),
                [&](int argc, char** argv) { return cmdHelp(interp(), word, wellFormed, argc, argv); });
  }

  HxRecordingSink sink;
};

}  // namespace

TEST_F(Commands, CheckKnowsTheExactWordOnly) {
  EXPECT_NE(0, cmdCheck("getId", "getId", ""));
  EXPECT_EQ(0, cmdCheck("get", "getId", ""));
  EXPECT_EQ(0, cmdCheck("getIdx", "getId", ""));
  EXPECT_EQ(0, cmdCheck("GETID", "getId", ""));
}

TEST_F(Commands, CheckRegistersWhetherItFitsOrNot) {
  cmdCheck("x", "allMasks", "");
  cmdCheck("x", "getId", "ROI");
  cmdCheck("x", "allMasks", "");
  ASSERT_EQ(2, getCmdInfo().size());
  EXPECT_EQ("allMasks", getCmdInfo()[0].name);
  EXPECT_EQ("getId", getCmdInfo()[1].name);
  EXPECT_EQ("ROI", getCmdInfo()[1].synopsis);
  getCmdInfo().clear();
  EXPECT_EQ(0, getCmdInfo().size());
}

TEST_F(Commands, HelpGoesOnWithAWellFormedCommand) {
  EXPECT_EQ(4, help("getMaskBoundingBox", true, {"set", "getMaskBoundingBox", "hippo"}));
  EXPECT_THAT(sink.consoleEntries, IsEmpty());
}

TEST_F(Commands, HelpShowsTheUsageOfAMalformedCommand) {
  cmdCheck("getMaskBoundingBox", "getMaskBoundingBox", "MASK");
  EXPECT_EQ(1, help("getMaskBoundingBox", false, {"set", "getMaskBoundingBox"}));
  EXPECT_THAT(sink.consoleEntries, ElementsAre("usage: set getMaskBoundingBox MASK"));
  EXPECT_STREQ("", Tcl_GetStringResult(interp()));
}

TEST_F(Commands, HelpAskedForIsNoError) {
  EXPECT_EQ(0, help("getMaskBoundingBox", true, {"set", "getMaskBoundingBox", "help"}));
  EXPECT_THAT(sink.consoleEntries, ElementsAre("usage: set getMaskBoundingBox"));
}

TEST_F(Commands, ErrorNamesTheWordAndItsKind) {
  EXPECT_EQ(1, cmdError(interp(), 2, "createAndInsertRoiFrom"));
  EXPECT_EQ(1, cmdError(interp(), 1, "100%s%n"));
  EXPECT_EQ(1, cmdError(interp(), 77, "x"));
  EXPECT_THAT(sink.consoleEntries, ElementsAre("createAndInsertRoiFrom: wrong number of arguments",
                                               "100%s%n: unknown command", "x: malformed command"));
  EXPECT_STREQ("", Tcl_GetStringResult(interp()));
}

TEST_F(Commands, UsageListsWhatIsRegistered) {
  cmdCheck("x", "parameters", "COMMAND ...");
  const auto usage = [&](int argc, char** argv) { return cmdUsage(interp(), argc, argv); };
  EXPECT_EQ(0, with({"hippo", "help"}, usage));
  EXPECT_EQ(0, with({"hippo"}, usage));
  EXPECT_THAT(sink.consoleEntries,
              ElementsAre("usage: hippo parameters COMMAND ...", "usage: hippo parameters COMMAND ..."));
  sink.clear();
  EXPECT_EQ(1, with({"hippo", "dance"}, usage));
  EXPECT_THAT(sink.consoleEntries,
              ElementsAre("usage: hippo parameters COMMAND ...", "hippo: unknown command \"dance\""));
}

TEST_F(Commands, ATableTellsMore) {
  static constexpr HxCommandText text{"count", "ROI ?DEPTH?", 1, 2, "Counts."};
  EXPECT_NE(0, cmdCheck("count", text, "HxThing"));
  getCmdInfo().note("count", "ROI is one of A, B");
  EXPECT_EQ("HxThing", getCmdInfo()[0].of);
  EXPECT_EQ(0, with({"thing", "help", "count"}, [&](int argc, char** argv) { return cmdUsage(interp(), argc, argv); }));
  EXPECT_THAT(sink.consoleEntries, ElementsAre("usage: thing count ROI ?DEPTH?\n    Counts.\n    ROI is one of A, B"));
  EXPECT_EQ(1, with({"thing", "help", "x"}, [&](int argc, char** argv) { return cmdUsage(interp(), argc, argv); }));
  EXPECT_EQ("thing: unknown command \"x\"", sink.consoleEntries.back());
  getCmdInfo().add("count", "");
  EXPECT_EQ("", getCmdInfo()[0].synopsis);
  EXPECT_EQ("ROI ?DEPTH?", getCmdInfo()[0].words());
}

TEST_F(Commands, AppendElementMakesAList) {
  Tcl_VaAppendElement(interp(), "%i", 64);
  Tcl_VaAppendElement(interp(), "%s", "two words");
  Tcl_VaAppendElement(interp(), "%s", "[exec x] \"{");
  Tcl_VaAppendElement(interp(), "%s", "");
  int count = 0;
  Tcl_Obj** elements = nullptr;
  ASSERT_EQ(TCL_OK, Tcl_ListObjGetElements(nullptr, Tcl_GetObjResult(interp()), &count, &elements));
  ASSERT_EQ(4, count);
  EXPECT_STREQ("64", Tcl_GetString(elements[0]));
  EXPECT_STREQ("two words", Tcl_GetString(elements[1]));
  EXPECT_STREQ("[exec x] \"{", Tcl_GetString(elements[2]));
  EXPECT_STREQ("", Tcl_GetString(elements[3]));
}

TEST_F(Commands, AppendElementWritesNumbersWithoutTheLocale) {
  const CommaLocale locale;
  Tcl_VaAppendElement(interp(), "%f", -0.5);
  EXPECT_STREQ("-0.500000", Tcl_GetStringResult(interp()));
}
