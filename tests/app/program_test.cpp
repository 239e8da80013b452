#include "tests/app/Program.h"

#include <QElapsedTimer>
#include <QFileInfo>
#include <QProcess>
#include <gmock/gmock.h>
#include <signal.h>

using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

#define TEMPLATES "/usr/share/mricron/templates"

TEST(Program, ShowsHelpAndVersion) {
  const Program program;
  for (const QStringList& arguments : {QStringList("--help"), QStringList()}) {
    const Outcome help = program.run(arguments);
    EXPECT_EQ(0, help.status);
    EXPECT_THAT(help.output, StartsWith("usage: quarn [OPTION...] [FILE...]\n"));
    EXPECT_THAT(help.errors, IsEmpty());
  }
  const Outcome version = program.run({"--version"});
  EXPECT_EQ(0, version.status);
  EXPECT_THAT(version.output, ::testing::MatchesRegex("quarn [0-9]+\\.[0-9]+\\.[0-9]+\n"));
}

TEST(Program, UnknownOptionIsAnError) {
  const Outcome outcome = Program().run({"--nonsense"});
  EXPECT_EQ(1, outcome.status);
  EXPECT_EQ("quarn: unknown option --nonsense; quarn --help shows the options\n", outcome.errors);
  EXPECT_THAT(outcome.output, IsEmpty());
}

TEST(Program, ScriptRunsToItsEnd) {
  const Outcome outcome = Program().runScript("puts [expr {6 * 7}]\nputs [create HxTable t]\nputs [t getClass]\n");
  EXPECT_EQ(0, outcome.status) << outcome.errors;
  EXPECT_EQ("42\nt\nHxTable\n", outcome.output);
}

TEST(Program, ScriptErrorHasFileLineAndMessage) {
  const Program program;
  const Outcome outcome = program.runScript("set a 1\n\nload nothing.nii\nputs unreached\n");
  EXPECT_EQ(1, outcome.status);
  EXPECT_THAT(outcome.errors,
              StartsWith(program.file("script.tcl").toStdString() + ":3: nothing.nii: cannot be opened"));
  EXPECT_THAT(outcome.output, Not(HasSubstr("unreached")));
}

TEST(Program, ScriptErrorNamesTheProceduresItHappenedIn) {
  const Program program;
  const Outcome outcome =
      program.runScript("proc inner {} {\n  set a 1\n  error wrong\n}\nproc outer {} { inner }\n\nouter\n");
  EXPECT_EQ(1, outcome.status);
  EXPECT_EQ(program.file("script.tcl").toStdString() +
                ":7: wrong\n    in error wrong\n    in procedure inner, line 3\n    in procedure outer, line 1\n",
            outcome.errors);
}

TEST(Program, ConsoleErrorOfAnObjectEndsTheScript) {
  const Program program;
  const Outcome outcome = program.runScript("create HxTable t\nt dance\nputs unreached\n");
  EXPECT_EQ(1, outcome.status);
  EXPECT_THAT(outcome.errors, StartsWith(program.file("script.tcl").toStdString() + ":2: "));
  EXPECT_THAT(outcome.errors, HasSubstr("dance"));
  EXPECT_THAT(outcome.output, HasSubstr("dance"));
}

TEST(Program, MissingScriptIsNamed) {
  const Program program;
  const Outcome outcome = program.run({"--script", program.file("no.tcl")});
  EXPECT_EQ(1, outcome.status);
  EXPECT_EQ(program.file("no.tcl").toStdString() + ": no such file\n", outcome.errors);
  EXPECT_EQ(1, program.run({"--script", program.folder()}).status);
}

TEST(Program, ScriptSeesItsArguments) {
  const Outcome outcome = Program().runScript("puts $argc\nforeach a $argv {puts <$a>}\nputs [file tail $argv0]\n",
                                              {"--quiet", "two words", "[exec touch canary]", "", "H\xC3\xBCpfer"});
  EXPECT_EQ(0, outcome.status) << outcome.errors;
  EXPECT_EQ("5\n<--quiet>\n<two words>\n<[exec touch canary]>\n<>\n<H\xC3\xBCpfer>\nscript.tcl\n", outcome.output);
}

TEST(Program, ExitGivesItsStatus) {
  EXPECT_EQ(7, Program().runScript("catch {exit 7}\nputs unreached\n").status);
  EXPECT_EQ(0, Program().runScript("exit\n").status);
  EXPECT_EQ(3, Program().run({"--command", "exit 3"}).status);
}

TEST(Program, CommandShowsItsResult) {
  const Outcome outcome = Program().run({"--command", "expr {1 + 1}"});
  EXPECT_EQ(0, outcome.status) << outcome.errors;
  EXPECT_EQ("2\n", outcome.output);
  const Outcome failing = Program().run({"--command", "create HxNothing"});
  EXPECT_EQ(1, failing.status);
  EXPECT_THAT(failing.errors, HasSubstr("HxNothing"));
}

TEST(Program, QuietSilencesTheConsole) {
  const Outcome outcome = Program().run({"--quiet", "--command", "create HxTable t; help; puts said"});
  EXPECT_EQ(0, outcome.status) << outcome.errors;
  EXPECT_EQ("said\n", outcome.output);
  const Outcome failing = Program().run({"--quiet", "--command", "create HxTable t; t dance"});
  EXPECT_EQ(1, failing.status);
  EXPECT_THAT(failing.errors, HasSubstr("dance"));
  EXPECT_THAT(failing.output, IsEmpty());
}

TEST(Program, SetChangesAPreference) {
  const Outcome outcome =
      Program().run({"--set", "LDA > Tile Size=32", "--command", "preferences get {LDA > Tile Size}"});
  EXPECT_EQ("32\n", outcome.output);
  const Outcome value = Program().run({"--set", "LDA > Tile Size=33", "--command", "puts unreached"});
  EXPECT_EQ(1, value.status);
  EXPECT_EQ("quarn: preference \"LDA > Tile Size\": 32, 64, 128 or 256 expected, got \"33\"\n", value.errors);
  EXPECT_THAT(value.output, IsEmpty());
  const Outcome key = Program().run({"--set", "Colour=red", "--command", "puts unreached"});
  EXPECT_EQ(1, key.status);
  EXPECT_THAT(key.errors, StartsWith("quarn: there is no preference \"Colour\""));
}

TEST(Program, TemporaryFolderMustBeWritable) {
  const Program program;
  const auto errorsWith = [&](const QString& folder) {
    const Outcome outcome = program.run({"--temp", folder, "--command", "puts unreached"});
    EXPECT_EQ(1, outcome.status);
    EXPECT_THAT(outcome.output, IsEmpty());
    return outcome.errors;
  };
  EXPECT_EQ("quarn: --temp: /no/such/folder: there is no such folder\n", errorsWith("/no/such/folder"));
  EXPECT_THAT(errorsWith(program.write("file", "")), EndsWith("file: is not a folder\n"));
  EXPECT_EQ("quarn: --temp: /proc: nothing can be written into this folder\n", errorsWith("/proc"));
  const Outcome preference =
      program.run({"--set", "Temporary Directory=/no/such/folder", "--command", "puts unreached"});
  EXPECT_EQ(1, preference.status);
  EXPECT_EQ("quarn: Temporary Directory: /no/such/folder: there is no such folder\n", preference.errors);
  const Outcome good = program.run({"--temp", program.folder(), "--command", "preferences get {Temporary Directory}"});
  EXPECT_EQ(program.folder().toStdString() + "\n", good.output);
}

TEST(Program, CriticalMessageEndsTheScript) {
  const Program program;
  program.write("tmp-masks", "a file in the place of the folder for masks");
  const Outcome outcome = program.run(
      {"--temp", program.folder(), "--script",
       program.write("script.tcl", "create HxRois rois\nload " TEMPLATES "/brodmann.nii.gz -as atlas -kind label\n"
                                   "create HxUniformLabelField3ToHxRois convert\n"
                                   "convert data connect atlas\nconvert doIt hit\nconvert fire\n"
                                   "puts unreached\n")});
  EXPECT_EQ(1, outcome.status);
  EXPECT_THAT(outcome.errors, HasSubstr("Can't access "));
  EXPECT_THAT(outcome.output, Not(HasSubstr("unreached")));
}

TEST(Program, PackagePathMustBeAFolder) {
  const Outcome outcome = Program().run({"--package-path", "/no/such/folder", "--command", "puts unreached"});
  EXPECT_EQ(1, outcome.status);
  EXPECT_EQ("quarn: package folder /no/such/folder: is not a folder\n", outcome.errors);
}

TEST(Program, BrokenPackageIsAWarning) {
  const Program program;
  program.write("broken.json", "{}");
  const Outcome outcome = program.run({"--package-path", program.folder(), "--command", "puts reached"});
  EXPECT_EQ(0, outcome.status);
  EXPECT_THAT(outcome.errors, HasSubstr("warning: " + program.file("broken.json").toStdString()));
  EXPECT_THAT(outcome.output, HasSubstr("reached\n"));
}

TEST(Program, FilesAreLoadedFirst) {
  const Program program;
  const Outcome outcome = program.run({program.file("no.nii"), "--command", "puts unreached"});
  EXPECT_EQ(1, outcome.status);
  EXPECT_THAT(outcome.errors, HasSubstr("no.nii: cannot be opened"));
  EXPECT_THAT(outcome.output, IsEmpty());
}

TEST(Program, HostileWordsStayWords) {
  const Program program;
  const Outcome outcome = program.runScript(
      "foreach word [list {[exec touch canary]} {\"quoted\"} {$argv0} \"new\\nline\" {a;exec touch canary} \\{ \\\\] "
      "{\n"
      "  set name [create HxTable $word]\n"
      "  eval \"\\\"$name\\\" getLabel\"\n"
      "  remove $name\n"
      "}\n"
      "set long [string repeat x 1048576]\n"
      "puts [string length [create HxTable $long]]\n"
      "puts [catch {load $long} message]\n"
      "puts [expr {[string length $message] < 1000}]\n"
      "puts [catch {load \"%s%n%1\"} message]\n"
      "puts [string match {%s%n%1: *} $message]\n");
  EXPECT_EQ(0, outcome.status) << outcome.errors;
  EXPECT_EQ("200\n1\n1\n1\n1\n", outcome.output);
  EXPECT_FALSE(QFileInfo::exists(program.file("canary")));
}

TEST(Program, InteractiveReadsAPipe) {
  const Outcome outcome = Program().run({"--interactive"},
                                        "set a 5\n"
                                        "nonsense\n"
                                        "foreach i {1 2} {\n"
                                        "  puts <$i>\n"
                                        "}\n"
                                        "expr {$a + 1}");
  EXPECT_EQ(1, outcome.status) << "a command failed";
  EXPECT_EQ("5\n<1>\n<2>\n6\n", outcome.output);
  EXPECT_EQ("invalid command name \"nonsense\"\n", outcome.errors);
}

TEST(Program, InteractiveEndsWithTheStatusOfExit) {
  const Outcome outcome = Program().run({"--interactive"}, "exit 4\nputs unreached\n");
  EXPECT_EQ(4, outcome.status);
  EXPECT_THAT(outcome.output, IsEmpty());
  EXPECT_EQ(0, Program().run({"--interactive"}, "").status);
}

TEST(Program, InteractiveTellsOfAnUnfinishedCommand) {
  const Outcome outcome = Program().run({"--interactive"}, "foreach i {1 2} {\n");
  EXPECT_EQ("the input ends inside a command\n", outcome.errors);
  EXPECT_EQ(1, outcome.status);
}

TEST(Program, InteractiveTakesLongLines) {
  const Outcome outcome = Program().run({"--interactive"}, "string length " + QByteArray(1 << 20, 'x') + "\n");
  EXPECT_EQ("1048576\n", outcome.output);
}

TEST(Program, PrintsOfTclAndOfTheConsoleKeepTheirOrder) {
  const Outcome outcome = Program().runScript("puts one\nhelp exit\nputs two\n");
  EXPECT_THAT(outcome.output, ::testing::MatchesRegex("one\nexit .*\n *Ends the program.*\ntwo\n"));
}

TEST(Program, LanguageOfTheUserDoesNotMatter) {
  Program program;
  program.environment.insert("LC_ALL", "C");
  const Outcome outcome = program.runScript("puts H\xC3\xBCpfer\nputs [create HxTable H\xC3\xBCpfer]\n");
  EXPECT_EQ(0, outcome.status);
  EXPECT_EQ("H\xC3\xBCpfer\nH\xC3\xBCpfer\n", outcome.output);
  EXPECT_THAT(outcome.errors, IsEmpty());
}

TEST(Program, CtrlCEndsAScriptTidily) {
  const Program program;
  QProcess process;
  process.setProcessEnvironment(program.environment);
  process.start(QUARN_PROGRAM,
                {"--script", program.write("loop.tcl", "set n 0\nwhile 1 {if {[incr n] == 1} {puts started}}\n")});
  ASSERT_TRUE(process.waitForReadyRead(30000));
  ASSERT_EQ(0, kill(static_cast<pid_t>(process.processId()), SIGINT));
  ASSERT_TRUE(process.waitForFinished(10000));
  EXPECT_EQ(QProcess::NormalExit, process.exitStatus());
  EXPECT_EQ(130, process.exitCode());
  EXPECT_THAT(process.readAllStandardError().toStdString(), HasSubstr("loop.tcl:2: interrupted"));
}

TEST(Program, CtrlCEndsAWaitForInput) {
  const Program program;
  QProcess process;
  process.setProcessEnvironment(program.environment);
  process.start(QUARN_PROGRAM, {"--interactive"});
  process.write("puts started\n");
  ASSERT_TRUE(process.waitForReadyRead(30000));
  ASSERT_EQ(0, kill(static_cast<pid_t>(process.processId()), SIGINT));
  ASSERT_TRUE(process.waitForFinished(10000));
  EXPECT_EQ(130, process.exitCode());
}
