#include <QCoreApplication>
#include <QKeyEvent>
#include <gmock/gmock.h>

#include "quarn/app/window/ConsolePane.h"
#include "quarn/app/window/WindowSink.h"
#include "quarn/kernel/app/HxMessage.h"

using quarn::app::CommandEdit;
using quarn::app::ConsolePane;
using quarn::app::WindowSink;
using ::testing::EndsWith;
using ::testing::HasSubstr;

namespace {

void press(QWidget& widget, Qt::Key key) {
  QKeyEvent event(QEvent::KeyPress, key, Qt::NoModifier);
  QCoreApplication::sendEvent(&widget, &event);
}

std::string logOf(const ConsolePane& pane) {
  return pane.log().toStdString();
}

}  // namespace

TEST(ConsolePane, ShowsCommandsAndTheirResults) {
  ConsolePane pane;
  pane.run(QStringLiteral("expr 6 * 7"));
  EXPECT_EQ("> expr 6 * 7\n42", logOf(pane));
}

TEST(ConsolePane, WaitsForTheRestOfACommand) {
  ConsolePane pane;
  pane.run(QStringLiteral("foreach i {1 2} {"));
  EXPECT_EQ("> foreach i {1 2} {", logOf(pane));
  pane.run(QStringLiteral("set last $i }; set last"));
  EXPECT_THAT(logOf(pane), EndsWith("\n2"));
}

TEST(ConsolePane, ShowsErrors) {
  ConsolePane pane;
  pane.run(QStringLiteral("no_such_command"));
  EXPECT_THAT(logOf(pane), HasSubstr("invalid command name \"no_such_command\""));
}

TEST(ConsolePane, ExitEndsTheProgramAndNotTheProcess) {
  ConsolePane pane;
  int status = -1;
  QObject::connect(&pane, &ConsolePane::exitRequested, [&](int wanted) { status = wanted; });
  pane.run(QStringLiteral("exit 3"));
  EXPECT_EQ(3, status);
}

TEST(ConsolePane, TakesMessagesOfTheProgramOnce) {
  ConsolePane pane;
  WindowSink sink(&pane);
  HxMessageSink* former = HxMessage::setSink(&sink);
  HxMessage::printf("a line\n");
  HxMessage::printf("%s", "another");
  HxMessage::setSink(former);
  EXPECT_EQ("a line\nanother", logOf(pane));
}

TEST(CommandEdit, WalksThroughItsHistory) {
  CommandEdit edit;
  for (const char* line : {"first", "second"}) {
    edit.setText(QString::fromLatin1(line));
    press(edit, Qt::Key_Return);
  }
  edit.setText(QStringLiteral("begun"));
  press(edit, Qt::Key_Up);
  press(edit, Qt::Key_Up);
  EXPECT_EQ(QStringLiteral("first"), edit.text());
  press(edit, Qt::Key_Up);
  EXPECT_EQ(QStringLiteral("first"), edit.text());
  press(edit, Qt::Key_Down);
  press(edit, Qt::Key_Down);
  EXPECT_EQ(QStringLiteral("begun"), edit.text());
}

TEST(CommandEdit, QuotesWordsWithBlanks) {
  CommandEdit edit;
  edit.setText(QStringLiteral("preferences get Temp"));
  press(edit, Qt::Key_Tab);
  EXPECT_EQ(QStringLiteral("preferences get \"Temporary Directory\" "), edit.text());
  edit.setText(QStringLiteral("preferences get \"Temporary D"));
  press(edit, Qt::Key_Tab);
  EXPECT_EQ(QStringLiteral("preferences get \"Temporary Directory\" "), edit.text());
}

TEST(CommandEdit, CompletesTheOnlyWordAndOffersSeveral) {
  CommandEdit edit;
  QStringList offered;
  QObject::connect(&edit, &CommandEdit::choices, [&](const QStringList& words) { offered = words; });
  edit.setText(QStringLiteral("pref"));
  press(edit, Qt::Key_Tab);
  EXPECT_EQ(QStringLiteral("preferences "), edit.text());
  press(edit, Qt::Key_Tab);
  EXPECT_EQ(QStringLiteral("preferences "), edit.text());
  EXPECT_TRUE(offered.contains(QStringLiteral("get")));
  EXPECT_TRUE(offered.contains(QStringLiteral("set")));
}
