#include <gmock/gmock.h>
#include <stdexcept>

#include "quarn/kernel/app/HxInterrupt.h"
#include "quarn/kernel/app/HxMessage.h"
#include "quarn/kernel/app/HxRecordingSink.h"
#include "quarn/kernel/script/HxCommands.h"
#include "quarn/kernel/script/HxInterpreter.h"
#include "tests/kernel/TemporaryFolder.h"
#include "tests/kernel/expectMcException.h"

using ::testing::ElementsAre;
using ::testing::HasSubstr;

namespace {

HxInterpreter& interpreter() {
  return HxInterpreter::instance();
}

/// The result of a script that must go well.
QString resultOf(const QString& script) {
  const std::optional<HxScriptError> error = interpreter().evaluate(script);
  EXPECT_FALSE(error) << script.toStdString() << ": " << error->message.toStdString();
  return interpreter().result();
}

/// The error of a script that must fail.
HxScriptError errorOf(const QString& script) {
  const std::optional<HxScriptError> error = interpreter().evaluate(script);
  EXPECT_TRUE(error) << script.toStdString();
  return error.value_or(HxScriptError());
}

/// A command of an object, for as long as the test runs.
class Command {
public:
  Command(const QString& name, HxObjectCommand function) : name_(name) {
    interpreter().addObject(name, std::move(function));
  }
  ~Command() { interpreter().removeObject(name_); }
  Command(const Command&) = delete;
  Command& operator=(const Command&) = delete;

private:
  QString name_;
};

int answerWords(Tcl_Interp* interp, int argc, char** argv) {
  EXPECT_EQ(nullptr, argv[argc]);
  for (int i = 0; i < argc; ++i) Tcl_VaAppendElement(interp, "%s", argv[i]);
  return TCL_OK;
}

}  // namespace

TEST(Interpreter, EvaluatesTcl) {
  EXPECT_EQ("6", resultOf("expr {2 * 3}"));
  EXPECT_EQ("invalid command name \"nonsense\"", errorOf("nonsense").message);
}

TEST(Interpreter, DoesNotStartProgramsForMistypedCommands) {
  EXPECT_EQ("invalid command name \"true\"", errorOf("true").message);
}

TEST(Interpreter, TextsOfAllPlanesComeBack) {
  const QString text = QString::fromUtf8("H\xC3\xBCpfer \xE2\x82\xAC \xE6\xB5\xB7");
  EXPECT_EQ(text, resultOf("set t {" + text + "}"));
}

TEST(Interpreter, ObjectCommandGetsItsWords) {
  const Command command("brain", answerWords);
  EXPECT_EQ("brain getId {two words} {} {[exec x]}", resultOf("brain getId {two words} {} {[exec x]}"));
  EXPECT_TRUE(interpreter().isObject("brain"));
  EXPECT_TRUE(interpreter().objectNames().contains("brain"));
}

TEST(Interpreter, ObjectCommandGetsUtf8) {
  std::string word;
  const Command command("brain", [&](Tcl_Interp*, int, char** argv) {
    word = argv[1];
    return TCL_OK;
  });
  resultOf(QString::fromUtf8("brain \xC3\xA9t\xC3\xA9"));
  EXPECT_EQ("\xC3\xA9t\xC3\xA9", word);
}

TEST(Interpreter, WordsMayBeLong) {
  std::size_t length = 0;
  const Command command("brain", [&](Tcl_Interp*, int, char** argv) {
    length = std::string(argv[1]).size();
    return TCL_OK;
  });
  resultOf("brain [string repeat x 1048576]");
  EXPECT_EQ(1048576u, length);
}

TEST(Interpreter, ResultsDoNotPileUp) {
  const Command command("brain", answerWords);
  EXPECT_EQ("brain a", resultOf("brain x; brain a"));
}

TEST(Interpreter, RemovedObjectHasNoCommand) {
  interpreter().addObject("brain", answerWords);
  interpreter().removeObject("brain");
  interpreter().removeObject("brain");
  EXPECT_FALSE(interpreter().isCommand("brain"));
  EXPECT_FALSE(interpreter().isObject("brain"));
  EXPECT_EQ("invalid command name \"brain\"", errorOf("brain").message);
}

TEST(Interpreter, RenamedObjectKeepsItsFunction) {
  interpreter().addObject("brain", answerWords);
  interpreter().renameObject("brain", "cortex");
  EXPECT_EQ("cortex x", resultOf("cortex x"));
  EXPECT_FALSE(interpreter().isCommand("brain"));
  interpreter().renameObject("nobody", "somebody");
  EXPECT_FALSE(interpreter().isCommand("somebody"));
  interpreter().removeObject("cortex");
}

TEST(Interpreter, NamesOfCommandsAreTaken) {
  const Command command("brain", answerWords);
  const Command other("cortex", answerWords);
  for (const char* name : {"set", "load", "brain", ""})
    EXPECT_THROW(interpreter().addObject(name, answerWords), McException) << name;
  EXPECT_THROW(interpreter().renameObject("brain", "cortex"), McException);
  EXPECT_EQ("brain", resultOf("brain"));
  EXPECT_TRUE(interpreter().isCommand("puts"));
  EXPECT_FALSE(interpreter().isObject("puts"));
}

TEST(Interpreter, CommandOutlivesItsOwnRemoval) {
  const auto alive = std::make_shared<int>(42);
  int seen = 0;
  interpreter().addObject("brain", [&seen, held = alive](Tcl_Interp*, int, char**) {
    interpreter().removeObject("brain");
    seen = *held;
    return TCL_OK;
  });
  resultOf("brain");
  EXPECT_EQ(42, seen);
  EXPECT_EQ(1, alive.use_count());
}

TEST(Interpreter, ScriptMayDeleteTheCommandOfAnObject) {
  interpreter().addObject("brain", answerWords);
  resultOf("rename brain {}");
  EXPECT_FALSE(interpreter().isObject("brain"));
  interpreter().removeObject("brain");
}

TEST(Interpreter, ExceptionsOfCommandsBecomeErrors) {
  const Command mc("mc", [](Tcl_Interp*, int, char**) -> int { throw McException("H\xC3\xBCpfer is missing"); });
  const Command standard("standard",
                         [](Tcl_Interp*, int, char**) -> int { throw std::out_of_range("bimap<>: invalid key"); });
  const Command number("number", [](Tcl_Interp*, int, char**) -> int { throw 7; });
  EXPECT_EQ(QString::fromUtf8("H\xC3\xBCpfer is missing"), errorOf("mc").message);
  EXPECT_EQ("bimap<>: invalid key", errorOf("standard").message);
  EXPECT_EQ("unknown failure", errorOf("number").message);
  EXPECT_EQ("1", resultOf("catch {mc}"));
}

TEST(Interpreter, FailureWithoutResultRepeatsTheConsole) {
  HxRecordingSink sink;
  const Command command("brain", [](Tcl_Interp*, int, char**) {
    HxMessage::printf("Saving masks to /tmp");
    HxMessage::printf("no such mask %s\n", "hippo");
    return TCL_ERROR;
  });
  const HxScriptError error = errorOf("brain");
  EXPECT_EQ("no such mask hippo", error.message);
  EXPECT_TRUE(error.shown);
  EXPECT_THAT(sink.consoleEntries, ElementsAre("Saving masks to /tmp", "no such mask hippo\n"));
}

TEST(Interpreter, FailureTakesNoTextFromBefore) {
  HxRecordingSink sink;
  HxMessage::printf("from before");
  const Command command("brain", [](Tcl_Interp*, int, char**) { return TCL_ERROR; });
  const HxScriptError error = errorOf("brain");
  EXPECT_EQ("brain: the command failed", error.message);
  EXPECT_FALSE(error.shown);
}

TEST(Interpreter, FailureWithResultKeepsIt) {
  HxRecordingSink sink;
  const Command command("brain", [](Tcl_Interp* interp, int, char**) {
    HxMessage::printf("on the console");
    Tcl_VaAppendElement(interp, "%s", "in the result");
    return TCL_ERROR;
  });
  const HxScriptError error = errorOf("brain");
  EXPECT_EQ("{in the result}", error.message);
  EXPECT_FALSE(error.shown);
}

TEST(Interpreter, StreamIsFlushedWithTheCommand) {
  HxRecordingSink sink;
  const Command command("brain", [](Tcl_Interp*, int, char**) {
    HxMessage::stream() << "without line end";
    return TCL_OK;
  });
  resultOf("brain");
  EXPECT_THAT(sink.consoleEntries, ElementsAre("without line end"));
}

TEST(Interpreter, RegisteredCommandsBelongToTheRunningObject) {
  HxRecordingSink sink;
  int innerSize = -1;
  int outerSize = -1;
  const Command inner("inner", [&](Tcl_Interp*, int, char**) {
    innerSize = getCmdInfo().size();
    cmdCheck("x", "innerCommand", "");
    return TCL_OK;
  });
  const Command outer("outer", [&](Tcl_Interp*, int, char**) {
    cmdCheck("x", "first", "");
    cmdCheck("x", "second", "");
    interpreter().evaluate("inner");
    outerSize = getCmdInfo().size();
    return TCL_OK;
  });
  resultOf("outer");
  EXPECT_EQ(0, innerSize);
  EXPECT_EQ(2, outerSize);
}

TEST(Interpreter, ErrorOfAFileHasFileAndLine) {
  const TemporaryFolder folder;
  const QString script = folder.write("a.tcl", "set x 1\n\nnonsense\n");
  const std::optional<HxScriptError> error = interpreter().evaluateFile(script);
  ASSERT_TRUE(error);
  EXPECT_EQ(script, error->file);
  EXPECT_EQ(3, error->line);
  EXPECT_EQ(script + ":3: invalid command name \"nonsense\"\n    in nonsense", error->toText());
}

TEST(Interpreter, ErrorInsideABlockHasItsOwnLine) {
  const TemporaryFolder folder;
  const QString script = folder.write("a.tcl",
                                      "set x 1\nforeach a {1 2} {\n  set y 1\n  if {$y} {\n    while 1 {\n"
                                      "      nonsense $a word\n    }\n  }\n}\n");
  const std::optional<HxScriptError> error = interpreter().evaluateFile(script);
  ASSERT_TRUE(error);
  EXPECT_EQ(6, error->line) << error->toText().toStdString();
  EXPECT_EQ("nonsense $a word", error->command);
}

TEST(Interpreter, CommandsOfManyLinesAreCut) {
  const std::optional<HxScriptError> error = interpreter().evaluate("nonsense {a\n b}");
  ASSERT_TRUE(error);
  EXPECT_EQ("nonsense {a ...", error->command);
}

TEST(Interpreter, ErrorOfASourcedFileHasTheInnerPlace) {
  const TemporaryFolder folder;
  const QString inner = folder.write("inner.tcl", "proc p {} {\n  nonsense\n}\n\np\n");
  const QString outer = folder.write("outer.tcl", "source " + inner.toUtf8() + "\n");
  const std::optional<HxScriptError> error = interpreter().evaluateFile(outer);
  ASSERT_TRUE(error);
  EXPECT_EQ(inner, error->file);
  EXPECT_EQ(5, error->line);
}

TEST(Interpreter, MessageCannotFakeItsPlace) {
  const TemporaryFolder folder;
  const QString script = folder.write("a.tcl", "\nerror \"x\\n    (file \\\"fake\\\" line 99)\"\n");
  const std::optional<HxScriptError> error = interpreter().evaluateFile(script);
  ASSERT_TRUE(error);
  EXPECT_EQ(script, error->file);
  EXPECT_EQ(2, error->line);
}

TEST(Interpreter, LongFileNamesAreWhole) {
  const TemporaryFolder folder;
  const QString script = folder.write(QString(200, 'n') + ".tcl", "\nnonsense\n");
  const std::optional<HxScriptError> error = interpreter().evaluateFile(script);
  ASSERT_TRUE(error);
  EXPECT_EQ(script, error->file);
  EXPECT_EQ(2, error->line);
}

TEST(Interpreter, ProceduresThatCallThemselvesAreCutInTheMiddle) {
  resultOf("proc again {n} { if {$n == 0} { error deep }; again [expr {$n - 1}] }");
  const HxScriptError error = errorOf("again 300");
  EXPECT_EQ(301, error.procedures.size());
  const QString text = error.toText();
  EXPECT_EQ(1 + 1 + 8 + 1 + 8, text.split('\n').size()) << text.toStdString();
  EXPECT_TRUE(text.contains("\n    in 285 more procedures\n"));
}

TEST(Interpreter, MissingFileIsNamed) {
  const TemporaryFolder folder;
  const std::optional<HxScriptError> missing = interpreter().evaluateFile(folder.file("no.tcl"));
  ASSERT_TRUE(missing);
  EXPECT_EQ(folder.file("no.tcl") + ": no such file", missing->toText());
  const std::optional<HxScriptError> directory = interpreter().evaluateFile(folder.path());
  ASSERT_TRUE(directory);
  EXPECT_EQ(folder.path() + ": is a directory", directory->toText());
}

TEST(Interpreter, FilesAreUtf8) {
  const TemporaryFolder folder;
  const QString script = folder.write("a.tcl", "set t \xC3\xA4\xE2\x82\xAC\n");
  ASSERT_FALSE(interpreter().evaluateFile(script));
  EXPECT_EQ(QString::fromUtf8("\xC3\xA4\xE2\x82\xAC"), interpreter().result());
}

TEST(Interpreter, ArgumentsArePlainWords) {
  interpreter().setArguments("a script.tcl", {"one", "two words", "[exec x]", "", "$argc"});
  EXPECT_EQ("a script.tcl", resultOf("set argv0"));
  EXPECT_EQ("5", resultOf("set argc"));
  EXPECT_EQ("[exec x]", resultOf("lindex $argv 2"));
  EXPECT_EQ("$argc", resultOf("lindex $argv end"));
  EXPECT_EQ("5", resultOf("llength $argv"));
}

TEST(Interpreter, ExitGoesPastEveryCatch) {
  resultOf("set reached 0");
  const HxScriptError exit = errorOf("catch {catch {exit 3}; set reached 1}; set reached 2");
  EXPECT_EQ(3, exit.exitStatus);
  EXPECT_EQ("0", resultOf("set reached"));
  EXPECT_EQ(0, errorOf("exit").exitStatus);
}

TEST(Interpreter, ExitRefusesOtherStatuses) {
  for (const char* script : {"exit x", "exit -1", "exit 256", "exit 1 2"}) {
    const HxScriptError error = errorOf(script);
    EXPECT_FALSE(error.exitStatus) << script;
    EXPECT_FALSE(error.message.isEmpty());
  }
}

TEST(Interpreter, InterruptEndsAScript) {
  HxInterrupt::clear();
  const Command stop("stop", [](Tcl_Interp*, int, char**) {
    HxInterrupt::request();
    return TCL_OK;
  });
  const HxScriptError error = errorOf("stop; while 1 {}");
  EXPECT_TRUE(error.interrupted);
  EXPECT_EQ("interrupted", error.message);
  EXPECT_FALSE(HxInterrupt::isRequested());
  EXPECT_EQ("1", resultOf("set a 1"));
}

TEST(Interpreter, InterruptCannotBeCaught) {
  HxInterrupt::clear();
  const Command stop("stop", [](Tcl_Interp*, int, char**) {
    HxInterrupt::request();
    return TCL_OK;
  });
  const HxScriptError error = errorOf("set n 0; while {$n < 1000} {catch {stop; while 1 {}}; incr n}");
  EXPECT_TRUE(error.interrupted);
  EXPECT_EQ("0", resultOf("set n"));
}

TEST(Interpreter, InterruptThatACommandHearsCannotBeCaught) {
  HxInterrupt::clear();
  const Command stop("stop", [](Tcl_Interp*, int, char**) -> int {
    HxInterrupt::request();
    HxInterrupt::answer();
    throw McException("the work was cancelled");
  });
  EXPECT_TRUE(errorOf("set n 0; while {$n < 10} {catch {stop}; incr n}").interrupted);
  EXPECT_EQ("0", resultOf("set n"));
}

TEST(Interpreter, InterruptEndsWhatASafeInterpreterRunsAndItsCaller) {
  HxInterrupt::clear();
  const Command stop("stop", [](Tcl_Interp*, int, char**) {
    HxInterrupt::request();
    return TCL_OK;
  });
  EXPECT_TRUE(errorOf("set n 0; set child [interp create -safe]; $child alias stop stop\n"
                      "catch {$child eval {catch {stop; while 1 {}}}}; incr n")
                  .interrupted);
  EXPECT_EQ("0", resultOf("interp delete $child; set n"));
}

TEST(Interpreter, WishDuringTheLastCommandCounts) {
  HxInterrupt::clear();
  const Command stop("stop", [](Tcl_Interp* interp, int, char**) {
    HxInterrupt::request();
    Tcl_VaAppendElement(interp, "%s", "done all the same");
    return TCL_OK;
  });
  EXPECT_TRUE(errorOf("stop").interrupted);
}
