#include <QDir>
#include <algorithm>
#include <gmock/gmock.h>
#include <tuple>

#include "ScriptTest.h"
#include "Variation.h"
#include "Workbench.h"
#include "quarn/base/McException.h"
#include "quarn/kernel/app/HxRecordingSink.h"
#include "quarn/kernel/script/HxInterpreter.h"

namespace {

const QString kFolder = QStringLiteral(QUARN_SOURCE_DIR "/tests/scripts");

/// Lines of a text; none for an empty one.
QStringList linesOf(QString text) {
  if (text.endsWith('\n')) text.chop(1);
  return text.isEmpty() ? QStringList() : text.split('\n');
}

bool fits(const std::vector<Expected>& expected, const QStringList& given) {
  for (std::size_t i = 0; i < expected.size(); ++i) {
    if (expected[i].isRest) return true;
    if (static_cast<qsizetype>(i) >= given.size() || !expected[i].fits(given[static_cast<qsizetype>(i)])) return false;
  }
  return static_cast<std::size_t>(given.size()) == expected.size();
}

void compare(const char* what, const std::vector<Expected>& expected, const QStringList& given) {
  if (fits(expected, given)) return;
  QStringList wanted;
  for (const Expected& line : expected) wanted += line.text;
  ADD_FAILURE() << what << " is\n"
                << given.join('\n').toStdString() << "\nbut expected was\n"
                << wanted.join('\n').toStdString();
}

/// Console lines without the last one when that is the message, which the failure tells already.
QStringList consoleOf(const HxRecordingSink& sink, const std::optional<HxScriptError>& error) {
  QStringList lines = linesOf(QString::fromStdString(sink.consoleText()));
  const QStringList message = error && error->shown ? linesOf(error->message) : QStringList();
  if (!message.isEmpty() && lines.last(std::min(message.size(), lines.size())) == message)
    lines.resize(lines.size() - message.size());
  return lines;
}

void run(const ScriptStep& step) {
  HxRecordingSink sink;
  const std::optional<HxScriptError> error = HxInterpreter::instance().evaluate(step.statement);
  compare("the message", step.failure, error ? linesOf(error->message) : QStringList());
  compare("the result", step.result, error ? QStringList() : linesOf(HxInterpreter::instance().result()));
  compare("the console", step.console, consoleOf(sink, error));
}

using Parameter = std::tuple<std::string, std::string>;

class Scripts : public ::testing::TestWithParam<Parameter> {};

TEST_P(Scripts, DoesWhatIsWritten) {
  const QString variation = QString::fromStdString(std::get<0>(GetParam()));
  const QString file = kFolder + '/' + QString::fromStdString(std::get<1>(GetParam())) + ".test";
  const ScriptTest test = ScriptTest::read(file);
  if (test.skipped.contains(variation)) GTEST_SKIP() << "means nothing here";
  const Workbench workbench;
  Variation varied(variation);
  for (const ScriptStep& step : test.steps) {
    SCOPED_TRACE(file.toStdString() + ":" + std::to_string(step.line) + ": " + step.statement.toStdString());
    run(step);
    const HxRecordingSink unheard;
    varied.statementEnded();
  }
}

std::vector<std::string> tests() {
  std::vector<std::string> names;
  for (const QString& file : QDir(kFolder).entryList({"*.test"}, QDir::Files, QDir::Name))
    names.push_back(file.chopped(5).toStdString());
  return names;
}

std::vector<std::string> variations() {
  std::vector<std::string> names;
  for (const QString& name : Variation::names()) names.push_back(name.toStdString());
  return names;
}

std::string nameOf(const ::testing::TestParamInfo<Parameter>& parameter) {
  std::string name = std::get<0>(parameter.param) + '_' + std::get<1>(parameter.param);
  std::replace(name.begin(), name.end(), '-', '_');
  return name;
}

INSTANTIATE_TEST_SUITE_P(All, Scripts,
                         ::testing::Combine(::testing::ValuesIn(variations()), ::testing::ValuesIn(tests())), nameOf);

TEST(ScriptTests, TellWhereTheyAreWrong) {
  QTemporaryDir folder;
  const auto refusal = [&](const QByteArray& text) -> std::string {
    QFile file(folder.filePath("x.test"));
    EXPECT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(text);
    file.close();
    try {
      ScriptTest::read(file.fileName());
    } catch (const McException& error) {
      return error.what();
    }
    return {};
  };
  EXPECT_THAT(refusal("nam: x\n"), ::testing::HasSubstr("x.test:1: \"nam: x\" is no line of a head"));
  EXPECT_THAT(refusal("name: x\ndescription: y\n\n= 1\n"), ::testing::HasSubstr("x.test:4: nothing was stated yet"));
  EXPECT_THAT(refusal("name: x\ndescription: y\n\n> a\nb\n"), ::testing::HasSubstr("begins with none of"));
  EXPECT_THAT(refusal("name: x\n\n> a\n"), ::testing::HasSubstr("name, description"));
  EXPECT_EQ(refusal("name: x\ndescription: y\n\n> a\n"), "");
}

}  // namespace
