#include <gmock/gmock.h>

#include "quarn/app/CommandLine.h"
#include "quarn/base/McException.h"

using quarn::app::CommandLine;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Pair;

namespace {

std::string errorOf(const QStringList& words) {
  try {
    CommandLine::parse(words);
  } catch (const McException& error) {
    return error.what();
  }
  ADD_FAILURE() << "no error";
  return {};
}

}  // namespace

TEST(CommandLine, EverythingAfterAScriptIsItsOwn) {
  const CommandLine line = CommandLine::parse({"--quiet", "a.nii", "--script", "s.tcl", "--temp", "x", "--help", "b"});
  EXPECT_EQ(CommandLine::Mode::Script, line.mode);
  EXPECT_EQ("s.tcl", line.script);
  EXPECT_EQ(QStringList({"--temp", "x", "--help", "b"}), line.scriptArguments);
  EXPECT_EQ(QStringList("a.nii"), line.files);
  EXPECT_TRUE(line.quiet);
  EXPECT_FALSE(line.temporaryDirectory);
}

TEST(CommandLine, ReadsEveryOption) {
  const CommandLine line = CommandLine::parse({"--set", "A > B=x=y", "--set=C=", "--temp=/t", "--package-path", "/p",
                                               "--package-path", "/q", "--command", "puts \"--quiet\""});
  EXPECT_EQ(CommandLine::Mode::Command, line.mode);
  EXPECT_EQ("puts \"--quiet\"", line.command);
  EXPECT_THAT(line.preferences, ElementsAre(Pair(QString("A > B"), QString("x=y")), Pair(QString("C"), QString())));
  EXPECT_EQ("/t", line.temporaryDirectory);
  EXPECT_EQ(QStringList({"/p", "/q"}), line.packagePaths);
  EXPECT_FALSE(line.quiet);
}

TEST(CommandLine, WordsAfterTwoDashesAreFiles) {
  const CommandLine line = CommandLine::parse({"a", "--", "--quiet", "-x"});
  EXPECT_EQ(QStringList({"a", "--quiet", "-x"}), line.files);
  EXPECT_FALSE(line.quiet);
  EXPECT_EQ(CommandLine::Mode::None, line.mode);
}

TEST(CommandLine, HelpAndVersionWin) {
  EXPECT_EQ(CommandLine::Mode::Help, CommandLine::parse({"--quiet", "--help", "--nonsense"}).mode);
  EXPECT_EQ(CommandLine::Mode::Version, CommandLine::parse({"--version"}).mode);
}

TEST(CommandLine, RefusalsNameTheOption) {
  EXPECT_THAT(errorOf({"--nonsense"}), HasSubstr("unknown option --nonsense"));
  EXPECT_THAT(errorOf({"-x"}), HasSubstr("unknown option -x"));
  EXPECT_EQ("--script: FILE [ARG...] is missing", errorOf({"--script"}));
  EXPECT_EQ("--temp: DIR is missing", errorOf({"--temp"}));
  EXPECT_EQ("--set: KEY=VALUE is expected, got \"x\"", errorOf({"--set", "x"}));
  EXPECT_EQ("--set: KEY=VALUE is expected, got \"=x\"", errorOf({"--set", "=x"}));
  EXPECT_EQ("--quiet: takes no value", errorOf({"--quiet=yes"}));
  EXPECT_THAT(errorOf({"--interactive", "--command", "x"}),
              HasSubstr("only one of --window, --script, --command, --interactive, --recover, --verify and --snapshot"));
}

TEST(CommandLine, HelpNamesEveryOption) {
  for (const char* option : {"--script", "--command", "--interactive", "--set", "--temp", "--package-path", "--quiet",
                             "--version", "--help"})
    EXPECT_TRUE(CommandLine::help().contains(option)) << option;
}

TEST(CommandLine, VerifyTakesFiles) {
  const CommandLine line = CommandLine::parse({"--verify", "a.qm", "b.qm"});
  EXPECT_EQ(CommandLine::Mode::Verify, line.mode);
  EXPECT_EQ(QStringList({"a.qm", "b.qm"}), line.files);
  EXPECT_EQ("--verify: FILE is missing", errorOf({"--verify"}));
  EXPECT_THAT(errorOf({"--verify", "a.qm", "--recover"}), HasSubstr("only one of"));
}

TEST(CommandLine, TakesAPictureAndWhatItShows) {
  const CommandLine line = CommandLine::parse({"--snapshot", "a.png", "brain.nii", "atlas.qm"});
  EXPECT_EQ(CommandLine::Mode::Snapshot, line.mode);
  EXPECT_EQ("a.png", line.snapshot);
  EXPECT_EQ((QStringList{"brain.nii", "atlas.qm"}), line.files);
  EXPECT_EQ("--snapshot: FILE is missing", errorOf({"--snapshot", "a.png"}));
  EXPECT_EQ("--snapshot: FILE.png is missing", errorOf({"--snapshot"}));
}

TEST(CommandLine, RecoveryTakesAFolderOrDiscards) {
  CommandLine line = CommandLine::parse({"--recover"});
  EXPECT_EQ(CommandLine::Mode::Recover, line.mode);
  EXPECT_FALSE(line.discard);
  EXPECT_TRUE(line.files.isEmpty());
  EXPECT_EQ(QStringList("folder"), CommandLine::parse({"--recover", "folder"}).files);
  EXPECT_TRUE(CommandLine::parse({"--recover", "--discard"}).discard);
  EXPECT_EQ("--discard: only with --recover", errorOf({"--discard"}));
  EXPECT_EQ("--discard: takes no folder", errorOf({"--recover", "folder", "--discard"}));
  EXPECT_EQ("--recover: only one folder", errorOf({"--recover", "a", "b"}));
  EXPECT_EQ("--recover: only one of --window, --script, --command, --interactive, --recover, --verify and --snapshot",
            errorOf({"--interactive", "--recover"}));
}
