#include <gmock/gmock.h>

#include "quarn/app/window/ScriptOutput.h"
#include "quarn/kernel/script/HxInterpreter.h"

using quarn::app::ScriptOutput;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::internal::CaptureStdout;
using ::testing::internal::GetCapturedStdout;

namespace {

class ScriptOutputTest : public ::testing::Test {
protected:
  static void run(const char* command) {
    const auto error = HxInterpreter::instance().evaluate(QString::fromUtf8(command));
    EXPECT_FALSE(error) << error->toText().toStdString();
  }

  std::function<void(const QString&)> show() {
    return [this](const QString& line) { lines_.push_back(line.toStdString()); };
  }

  std::vector<std::string> lines_;
};

}  // namespace

TEST_F(ScriptOutputTest, TakesLines) {
  const ScriptOutput output(show());
  run("puts one; puts stdout {two\nthree}");
  EXPECT_THAT(lines_, ElementsAre("one", "two", "three"));
}

TEST_F(ScriptOutputTest, WaitsForTheEndOfALine) {
  {
    const ScriptOutput output(show());
    run("puts -nonewline o; flush stdout; puts -nonewline n");
    EXPECT_THAT(lines_, IsEmpty());
    run("puts e; puts -nonewline two");
    EXPECT_THAT(lines_, ElementsAre("one"));
  }
  EXPECT_THAT(lines_, ElementsAre("one", "two"));
}

TEST_F(ScriptOutputTest, KnowsAllLetters) {
  const ScriptOutput output(show());
  run("puts \"Gr\\u00f6\\u00dfe \\u4e2d\"");
  EXPECT_THAT(lines_, ElementsAre("Größe 中"));
}

TEST_F(ScriptOutputTest, TakesErrorsApart) {
  std::vector<std::string> errors;
  const ScriptOutput output(show());
  const ScriptOutput errorOutput([&](const QString& line) { errors.push_back(line.toStdString()); }, TCL_STDERR);
  run("puts stderr bad; puts good");
  EXPECT_THAT(errors, ElementsAre("bad"));
  EXPECT_THAT(lines_, ElementsAre("good"));
}

TEST_F(ScriptOutputTest, GivesTheOutputBack) {
  for (int i = 0; i < 2; ++i) {
    { const ScriptOutput output(show()); }
    CaptureStdout();
    run("puts again; flush stdout");
    EXPECT_EQ("again\n", GetCapturedStdout());
  }
  EXPECT_THAT(lines_, IsEmpty());
}
