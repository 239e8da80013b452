#include "tests/app/Terminal.h"

#include <QFile>
#include <gmock/gmock.h>

#include "tests/app/Program.h"

using ::testing::HasSubstr;
using ::testing::Not;

namespace {

std::size_t countOf(const std::string& text, const std::string& part) {
  std::size_t count = 0;
  for (std::size_t i = text.find(part); i != std::string::npos; i = text.find(part, i + part.size())) ++count;
  return count;
}

}  // namespace

TEST(Terminal, PromptShowsResultsAndErrors) {
  const Program program;
  Terminal terminal(program, {"--interactive"});
  ASSERT_TRUE(terminal.shows("quarn> "));
  terminal.type("expr {6 * 7}\r");
  ASSERT_TRUE(terminal.shows("\r42\r\n")) << terminal.screen();
  ASSERT_TRUE(terminal.shows("quarn> ")) << terminal.screen();
  terminal.type("nonsense\r");
  ASSERT_TRUE(terminal.shows("invalid command name \"nonsense\"")) << terminal.screen();
  ASSERT_TRUE(terminal.shows("quarn> ")) << terminal.screen();
  terminal.type("exit 6\r");
  EXPECT_EQ(6, terminal.status());
}

TEST(Terminal, TabCompletesCommandsAndObjects) {
  const Program program;
  Terminal terminal(program, {"--interactive"});
  ASSERT_TRUE(terminal.shows("quarn> "));
  terminal.type("prefe\t");
  ASSERT_TRUE(terminal.shows("preferences ")) << terminal.screen();
  terminal.type("get\r");
  ASSERT_TRUE(terminal.shows("{LDA > Tile Size}")) << terminal.screen();
  ASSERT_TRUE(terminal.shows("quarn> ")) << terminal.screen();
  terminal.type("create HxTable anUnusualName\r");
  ASSERT_TRUE(terminal.shows("\ranUnusualName\r\n")) << terminal.screen();
  ASSERT_TRUE(terminal.shows("quarn> ")) << terminal.screen();
  terminal.type("anUnus\t getClass\r");
  ASSERT_TRUE(terminal.shows("\rHxTable\r\n")) << terminal.screen();
  ASSERT_TRUE(terminal.shows("quarn> ")) << terminal.screen();
  terminal.type("\x04");
  EXPECT_EQ(0, terminal.status());
}

TEST(Terminal, TabQuotesNamesWithBlanks) {
  const Program program;
  Terminal terminal(program, {"--interactive"});
  ASSERT_TRUE(terminal.shows("quarn> "));
  terminal.type("preferences get Temp\t");
  ASSERT_TRUE(terminal.shows("\"Temporary Directory\" ")) << terminal.screen();
  terminal.type("\x15preferences get \"LDA > Ti\t\r");
  ASSERT_TRUE(terminal.shows("le Size\"")) << terminal.screen();
  ASSERT_TRUE(terminal.shows("64")) << terminal.screen();
  ASSERT_TRUE(terminal.shows("quarn> ")) << terminal.screen();
  terminal.type("\x04");
  EXPECT_EQ(0, terminal.status());
}

TEST(Terminal, HistoryIsKeptForTheNextSession) {
  const Program program;
  {
    Terminal terminal(program, {"--interactive"});
    ASSERT_TRUE(terminal.shows("quarn> "));
    terminal.type("string repeat ab 3\r");
    ASSERT_TRUE(terminal.shows("\rababab\r\n")) << terminal.screen();
    ASSERT_TRUE(terminal.shows("quarn> ")) << terminal.screen();
    terminal.type("\x04");
    EXPECT_EQ(0, terminal.status());
  }
  Terminal terminal(program, {"--interactive"});
  ASSERT_TRUE(terminal.shows("quarn> "));
  terminal.type("\x10\r");
  EXPECT_TRUE(terminal.shows("\rababab\r\n")) << terminal.screen();
}

TEST(Terminal, CtrlCDropsTheLine) {
  const Program program;
  Terminal terminal(program, {"--interactive"});
  ASSERT_TRUE(terminal.shows("quarn> "));
  terminal.type("foreach i {1 2} {\r");
  ASSERT_TRUE(terminal.shows("\x1b[?2004h> ")) << terminal.screen();
  terminal.type("puts unwanted");
  ASSERT_TRUE(terminal.shows("unwanted")) << terminal.screen();
  terminal.type("\x03");
  ASSERT_TRUE(terminal.shows("quarn> ")) << terminal.screen();
  terminal.type("puts wanted\r");
  ASSERT_TRUE(terminal.shows("\rwanted\r\n")) << terminal.screen();
  EXPECT_THAT(terminal.screen(), Not(HasSubstr("\runwanted")));
}

TEST(Terminal, CtrlCEndsTheRunningCommandOnly) {
  const Program program;
  Terminal terminal(program, {"--interactive"});
  ASSERT_TRUE(terminal.shows("quarn> "));
  terminal.type("puts begun; while 1 {}\r");
  ASSERT_TRUE(terminal.shows("\rbegun")) << terminal.screen();
  terminal.type("\x03");
  ASSERT_TRUE(terminal.shows("interrupted")) << terminal.screen();
  ASSERT_TRUE(terminal.shows("quarn> ")) << terminal.screen();
  terminal.type("exit 0\r");
  EXPECT_EQ(0, terminal.status());
}

TEST(Terminal, CtrlCEndsACommandThatWaitsForEvents) {
  const Program program;
  for (const char* waiting : {"vwait never", "while 1 {update}"}) {
    Terminal terminal(program, {"--interactive"});
    ASSERT_TRUE(terminal.shows("quarn> "));
    terminal.type(std::string("puts begun; ") + waiting + "\r");
    ASSERT_TRUE(terminal.shows("\rbegun")) << terminal.screen();
    terminal.type("\x03");
    ASSERT_TRUE(terminal.shows("interrupted")) << terminal.screen();
    ASSERT_TRUE(terminal.shows("quarn> ")) << terminal.screen();
    terminal.type("puts [expr {6 * 7}]\r");
    ASSERT_TRUE(terminal.shows("\r42\r\n")) << terminal.screen();
    terminal.type("exit 5\r");
    EXPECT_EQ(5, terminal.status());
  }
}

TEST(Terminal, CtrlCEndsAScriptThatCatchesEverything) {
  const Program program;
  const QString script = program.write("stubborn.tcl", "while 1 {catch {puts begun; while 1 {}}; puts caught}\n");
  Terminal terminal(program, {"--script", script.toStdString()});
  ASSERT_TRUE(terminal.shows("begun"));
  terminal.type("\x03");
  EXPECT_EQ(130, terminal.status()) << terminal.screen();
}

TEST(Terminal, UnsavedWorkIsNamedBeforeThePromptIsLeft) {
  const Program program;
  const QString image = QStringLiteral("/usr/share/mricron/templates/brodmann.nii.gz");
  const QString made = program.write("made.tcl", "load " + image.toUtf8() +
                                                     " -as areas -kind label\n"
                                                     "create HxUniformLabelField3ToHxRois convert\n"
                                                     "convert data connect areas\nconvert doIt hit\nconvert fire\n");
  for (const std::string leave : {"exit 3\r", "\x04"}) {
    Terminal terminal(program, {"--interactive"});
    ASSERT_TRUE(terminal.shows("quarn> "));
    terminal.type("source " + made.toStdString() + "\r");
    ASSERT_TRUE(terminal.shows("quarn> ")) << terminal.screen();
    for (const char* other : {"puts stayed", "puts still"}) {
      terminal.type(leave);
      ASSERT_TRUE(terminal.shows("not saved: areas-rois; save what is wanted, or leave once more"))
          << terminal.screen();
      ASSERT_TRUE(terminal.shows("quarn> ")) << terminal.screen();
      terminal.type(std::string(other) + "\r");
      ASSERT_TRUE(terminal.shows("quarn> ")) << terminal.screen();
    }
    terminal.type(leave);
    ASSERT_TRUE(terminal.shows("not saved: areas-rois")) << terminal.screen();
    ASSERT_TRUE(terminal.shows("quarn> ")) << terminal.screen();
    terminal.type(leave);
    EXPECT_EQ(leave == "\x04" ? 0 : 3, terminal.status()) << terminal.screen();
  }
}

TEST(Terminal, ConsoleErrorIsShownOnce) {
  const Program program;
  const QString script = program.write("dance.tcl", "create HxTable t\nt dance\n");
  Terminal terminal(program, {"--script", script.toStdString()});
  EXPECT_EQ(1, terminal.status());
  EXPECT_EQ(1u, countOf(terminal.screen(), "dance\"")) << terminal.screen();
  EXPECT_THAT(terminal.screen(), HasSubstr("dance.tcl:2: "));
}
