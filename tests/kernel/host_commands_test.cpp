#include <gmock/gmock.h>

#include "quarn/kernel/app/HxRecordingSink.h"
#include "quarn/kernel/io/HxFileTypes.h"
#include "quarn/kernel/objects/HxData.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/kernel/script/HxCommandTable.h"
#include "quarn/kernel/script/HxInterpreter.h"
#include "tests/kernel/TemporaryFolder.h"
#include "tests/kernel/TestObjects.h"
#include "tests/kernel/expectMcException.h"

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Pair;

namespace {

class HostCommands : public ::testing::Test {
protected:
  ~HostCommands() override { HxObjectPool::instance().clear(); }

  static QString resultOf(const QString& script) {
    const std::optional<HxScriptError> error = HxInterpreter::instance().evaluate(script);
    EXPECT_FALSE(error) << script.toStdString() << ": " << error->message.toStdString();
    return HxInterpreter::instance().result();
  }

  static std::string errorOf(const QString& script) {
    const std::optional<HxScriptError> error = HxInterpreter::instance().evaluate(script);
    EXPECT_TRUE(error) << script.toStdString();
    return error ? error->message.toStdString() : std::string();
  }

  HxRecordingSink sink;
};

/// A reader of ".note" files while it lives; it notes what it was asked.
class NoteReader {
public:
  NoteReader() {
    HxFileTypes::instance().registerReader("Note", {".note"}, [this](const QString&, const HxLoadOptions& given) {
      options = given;
      HxData::registerData(newTable(), given.name);
      return 1;
    });
  }
  ~NoteReader() { HxFileTypes::instance().unregisterReader("Note"); }

  HxLoadOptions options;

private:
  static HxData* newTable() { return McType::find("HxTable").createInstance<HxData>(); }
};

}  // namespace

TEST_F(HostCommands, CreateMakesAnObjectAndItsCommand) {
  EXPECT_EQ("table", resultOf("create HxTable table"));
  EXPECT_EQ("HxTable", resultOf("table getClass"));
  EXPECT_EQ("table", resultOf("objects"));
  EXPECT_THAT(sink.consoleEntries, IsEmpty());
}

TEST_F(HostCommands, CreateMakesNamesUniqueAndSafe) {
  EXPECT_EQ("table", resultOf("create HxTable table"));
  EXPECT_EQ("table2", resultOf("create HxTable table"));
  const QString name = resultOf("create HxTable {[exec touch /tmp/x]; \"$x\" \\ }");
  for (const char c : {'[', ']', '"', '$', '\\', ';', ' '}) EXPECT_FALSE(name.contains(c)) << name.toStdString();
  EXPECT_EQ(name, resultOf("\"" + name + "\" getLabel"));
  EXPECT_EQ("set2", resultOf("create HxTable set")) << "a name of Tcl's is not to be taken";
  EXPECT_EQ("1", resultOf("set ok 1"));
}

TEST_F(HostCommands, CreateNamesTheWrongClass) {
  EXPECT_THAT(errorOf("create HxNothing"), HasSubstr("HxNothing"));
  EXPECT_THAT(errorOf("create HxPort"), HasSubstr("HxPort"));
  EXPECT_THAT(errorOf("create [string repeat x 100000]"), HasSubstr("xxx..."));
  EXPECT_EQ("", resultOf("objects"));
}

TEST_F(HostCommands, RemoveTakesAllOrNothing) {
  resultOf("create HxTable a; create HxTable b; create HxTable c");
  EXPECT_EQ("there is no object \"x\"", errorOf("remove a x b"));
  EXPECT_EQ("a b c", resultOf("objects"));
  resultOf("remove a c a");
  EXPECT_EQ("b", resultOf("objects"));
  EXPECT_EQ("invalid command name \"a\"", errorOf("a getLabel"));
}

TEST_F(HostCommands, RemoveRefusesToLoseWhatHangsOnAnObject) {
  Log log;
  McHandle<TestData> source(new TestData(log)), owner(new TestData(log));
  HxObjectPool::instance().add(source, "field");
  HxObjectPool::instance().add(owner, "owner");
  owner->input.setTightness(true);
  ASSERT_TRUE(owner->input.connect(source));
  owner->setModified(8);
  EXPECT_EQ("field: owner would go with it and is not saved; save it, disconnect it, or name it, too",
            errorOf("remove field"));
  EXPECT_EQ("field owner", resultOf("objects"));
  owner->setModified(0);
  resultOf("remove field");
  EXPECT_EQ("", resultOf("objects"));
}

TEST_F(HostCommands, ObjectMayRemoveItselfFromAScript) {
  resultOf("create HxTable a");
  EXPECT_EQ("", resultOf("remove [a getLabel]"));
  EXPECT_EQ("", resultOf("objects"));
}

TEST_F(HostCommands, ObjectsAndClassesTakePatterns) {
  resultOf("create HxTable beta; create HxTable alpha; create HxTable gamma");
  EXPECT_EQ("alpha beta gamma", resultOf("objects"));
  EXPECT_EQ("beta", resultOf("objects b*"));
  EXPECT_EQ("", resultOf("objects nothing"));
  EXPECT_EQ("HxTable", resultOf("classes HxTab*"));
  EXPECT_EQ("", resultOf("classes HxPort*"));
}

TEST_F(HostCommands, PreferencesAreReadAndSet) {
  const QString former = resultOf("preferences get {LDA > Tile Size}");
  resultOf("preferences set {LDA > Tile Size} 32");
  EXPECT_EQ("32", resultOf("preferences get {lda>tile size}"));
  resultOf("preferences set {LDA > Tile Size} " + former);
  EXPECT_EQ("{LDA > Main Memory} {LDA > Tile Size} {Recovery Interval} {Temporary Directory} {Upgrade Older Files}",
            resultOf("preferences get"));
  EXPECT_THAT(errorOf("preferences get Colour"), HasSubstr("there is no preference \"Colour\""));
  EXPECT_THAT(errorOf("preferences set {LDA > Tile Size} 33"), HasSubstr("got \"33\""));
  EXPECT_THAT(errorOf("preferences set x"), HasSubstr("usage: preferences"));
  EXPECT_THAT(errorOf("preferences dance"), HasSubstr("usage: preferences"));
  resultOf("preferences set {LDA > Tile Size} 128");
  sink.clear();
  resultOf("preferences");
  EXPECT_THAT(sink.consoleText(), ::testing::ContainsRegex("LDA > Tile Size +128\n"));
  resultOf("preferences set {LDA > Tile Size} " + former);
}

TEST_F(HostCommands, HelpShowsTheTable) {
  resultOf("help");
  for (const HxCommandRow& row : HxCommandTable::instance().rows())
    EXPECT_THAT(sink.consoleEntries, Contains(row.synopsis().toStdString()));
  sink.clear();
  resultOf("help load");
  EXPECT_THAT(sink.consoleText(), HasSubstr("load FILE ?-as NAME?"));
  EXPECT_THAT(sink.consoleText(), HasSubstr("-values"));
  EXPECT_EQ("there is no command \"dance\"", errorOf("help dance"));
}

TEST_F(HostCommands, WrongWordCountShowsTheUsage) {
  EXPECT_THAT(errorOf("load"), HasSubstr("usage: load FILE"));
  EXPECT_THAT(errorOf("create"), HasSubstr("usage: create CLASS ?NAME?"));
  EXPECT_THAT(errorOf("create a b c"), HasSubstr("usage: create CLASS ?NAME?"));
  EXPECT_THAT(errorOf("remove"), HasSubstr("usage: remove NAME..."));
  EXPECT_THAT(errorOf("objects a b"), HasSubstr("usage: objects ?PATTERN?"));
}

TEST_F(HostCommands, LoadNamesWhatIsWrongWithAFile) {
  const TemporaryFolder folder;
  EXPECT_THAT(errorOf("load {" + folder.file("no.nii") + "}"), HasSubstr("no.nii: cannot be opened: No such file"));
  EXPECT_THAT(errorOf("load {" + folder.path() + "}"), HasSubstr("is a directory"));
  EXPECT_THAT(errorOf("load {" + folder.write("a.unknown", "x") + "}"),
              HasSubstr("a.unknown: unknown type of file; known endings:"));
}

TEST_F(HostCommands, LoadHandsItsOptionsOn) {
  const TemporaryFolder folder;
  NoteReader reader;
  const QString labels = folder.write("labels.txt", "1 one\n");
  EXPECT_EQ("brain", resultOf("load {" + folder.write("a.note", "") + "} -as brain -labels {" + labels +
                              "} -kind label -values 1-90,95,-3--1"));
  EXPECT_EQ("brain", reader.options.name);
  EXPECT_EQ(labels, reader.options.labels);
  EXPECT_EQ("label", reader.options.kind);
  EXPECT_THAT(reader.options.values, ElementsAre(Pair(1, 90), Pair(95, 95), Pair(-3, -1)));
}

TEST_F(HostCommands, LoadRefusesWrongOptions) {
  const TemporaryFolder folder;
  NoteReader reader;
  const QString load = "load {" + folder.write("a.note", "") + "} ";
  EXPECT_THAT(errorOf(load + "-kind colour"), HasSubstr("-kind: scalar or label is expected, got \"colour\""));
  EXPECT_THAT(errorOf(load + "-values 5-1"), HasSubstr("got \"5-1\""));
  EXPECT_THAT(errorOf(load + "-values 1,,2"), HasSubstr("values"));
  EXPECT_THAT(errorOf(load + "-values 1e3"), HasSubstr("got \"1e3\""));
  EXPECT_THAT(errorOf(load + "-as"), HasSubstr("option \"-as\" has no value"));
  EXPECT_THAT(errorOf(load + "-color red"), HasSubstr("unknown option \"-color\""));
  EXPECT_THAT(errorOf(load + "-labels {" + folder.file("no.txt") + "}"), HasSubstr("no.txt: cannot be opened"));
  EXPECT_THAT(errorOf(load + "-colors {" + folder.file("no.lut") + "}"), HasSubstr("no.lut: cannot be opened"));
  EXPECT_EQ("", resultOf("objects"));
}

TEST(CommandTable, RowsComeToTheInterpreterAndAreUnique) {
  HxInterpreter& interpreter = HxInterpreter::instance();
  static int calls = 0;
  if (!HxCommandTable::instance().find("countCalls"))
    HxCommandTable::instance().add({"countCalls", "", 0, 0, "Counts.", [](HxCommandCall&) { ++calls; }});
  ASSERT_FALSE(interpreter.evaluate("countCalls; countCalls"));
  EXPECT_EQ(2, calls);
  EXPECT_THROW(HxCommandTable::instance().add({"countCalls", "", 0, 0, "", [](HxCommandCall&) {}}), McException);
}

TEST(LoadOptions, AdmitsTheRangesGiven) {
  HxLoadOptions options;
  EXPECT_TRUE(options.admits(7));
  options.values = HxLoadOptions::parseRanges("3, 5-6");
  EXPECT_TRUE(options.admits(3));
  EXPECT_TRUE(options.admits(6));
  EXPECT_FALSE(options.admits(4));
  EXPECT_FALSE(options.admits(7));
}
