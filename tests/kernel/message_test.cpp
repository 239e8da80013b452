#include <gmock/gmock.h>
#include <thread>
#include <vector>

#include "quarn/kernel/app/HxApplication.h"
#include "quarn/kernel/app/HxMessage.h"
#include "quarn/kernel/app/HxRecordingSink.h"
#include "tests/kernel/CommaLocale.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

TEST(Message, EachPrintfIsOneRawEntry) {
  HxRecordingSink sink;
  HxMessage::printf("no such mask %s", "hippo");
  HxApplication::instance()->message()->printf("usage: insertRoiFrom hxRoisName [roiName]\n");
  EXPECT_THAT(sink.consoleEntries, ElementsAre("no such mask hippo", "usage: insertRoiFrom hxRoisName [roiName]\n"));
  EXPECT_EQ("no such mask hippo\nusage: insertRoiFrom hxRoisName [roiName]\n", sink.consoleText());
}

TEST(Message, TextsOfUsersAreNoFormats) {
  HxRecordingSink sink;
  HxMessage::printf("%s", "100%s%n");
  EXPECT_THAT(sink.consoleEntries, ElementsAre("100%s%n"));
}

TEST(Message, LongTextsAreNotCut) {
  HxRecordingSink sink;
  const std::string text(1 << 20, 'x');
  HxMessage::printf("%s", text.c_str());
  EXPECT_THAT(sink.consoleEntries, ElementsAre(text));
}

TEST(Message, NumbersDoNotDependOnTheLocale) {
  const CommaLocale locale;
  HxRecordingSink sink;
  HxMessage::printf("%f %.1e", 0.5, 1234.5);
  EXPECT_THAT(sink.consoleEntries, ElementsAre("0.500000 1.2e+03"));
}

TEST(Message, StreamMakesOneEntryPerLine) {
  HxRecordingSink sink;
  HxMessage::stream() << "unrecognised option\n"
                      << "optimize:" << std::endl
                      << "  -h";
  EXPECT_THAT(sink.consoleEntries, ElementsAre("unrecognised option\n", "optimize:\n"));
  HxMessage::flushStream();
  EXPECT_THAT(sink.consoleEntries, ElementsAre("unrecognised option\n", "optimize:\n", "  -h"));
}

TEST(Message, PrintfComesAfterABegunLineOfTheStream) {
  HxRecordingSink sink;
  HxMessage::stream() << "first";
  HxMessage::printf("second");
  EXPECT_THAT(sink.consoleEntries, ElementsAre("first", "second"));
}

TEST(Message, BoxesGoToTheSinkAndNotToTheConsole) {
  HxRecordingSink sink;
  HxMessage::error("wrong");
  HxMessage::warning("careful");
  HxMessage::critical("quarn- Critical", "cannot go on");
  HxMessage::ioError("a.ROIs.qm");
  EXPECT_THAT(sink.consoleEntries, IsEmpty());
  EXPECT_THAT(sink.errors, ElementsAre(QString("wrong")));
  EXPECT_THAT(sink.warnings, ElementsAre(QString("careful")));
  EXPECT_THAT(sink.criticals, ElementsAre(Pair(QString("quarn- Critical"), QString("cannot go on"))));
  EXPECT_THAT(sink.ioErrors, ElementsAre(QString("a.ROIs.qm")));
}

TEST(Message, NewestTextPrefersTheConsole) {
  HxRecordingSink sink;
  const HxMessage::Mark before = HxMessage::mark();
  EXPECT_EQ(std::nullopt, HxMessage::newestSince(before));
  HxMessage::ioError("set.qm");
  EXPECT_EQ("cannot read or write set.qm", HxMessage::newestSince(before));
  HxMessage::printf("first");
  HxMessage::printf("the disk is full\n");
  HxMessage::ioError("set.qm");
  EXPECT_EQ("the disk is full", HxMessage::newestSince(before));
  EXPECT_EQ(std::nullopt, HxMessage::newestSince(HxMessage::mark()));
}

TEST(Message, CriticalsAreCounted) {
  HxRecordingSink sink;
  const HxMessage::Mark before = HxMessage::mark();
  HxMessage::error("not critical");
  EXPECT_EQ(before.criticals, HxMessage::mark().criticals);
  HxMessage::critical("title", "text");
  EXPECT_EQ(before.criticals + 1, HxMessage::mark().criticals);
}

TEST(Message, SinksNest) {
  HxRecordingSink outer;
  {
    HxRecordingSink inner;
    HxMessage::printf("inner");
    EXPECT_THAT(inner.consoleEntries, ElementsAre("inner"));
  }
  HxMessage::printf("outer");
  EXPECT_THAT(outer.consoleEntries, ElementsAre("outer"));
}

TEST(Message, EntriesOfThreadsStayWhole) {
  constexpr int threads = 4;
  constexpr int entries = 200;
  HxRecordingSink sink;
  std::vector<std::thread> printers;
  for (int t = 0; t < threads; ++t)
    printers.emplace_back([t] {
      for (int i = 0; i < entries; ++i) HxMessage::printf("%s", std::string(50, static_cast<char>('a' + t)).c_str());
    });
  for (std::thread& printer : printers) printer.join();
  ASSERT_EQ(threads * entries, static_cast<int>(sink.consoleEntries.size()));
  for (const std::string& entry : sink.consoleEntries) EXPECT_EQ(std::string(50, entry.front()), entry);
}

namespace {

/// A sink that knows boxes without titles only.
class PlainSink : public HxRecordingSink {
public:
  void titledWarning(const QString& title, const QString& text) override { HxMessageSink::titledWarning(title, text); }
};

}  // namespace

TEST(Message, WarningsMayHaveATitle) {
  HxRecordingSink sink;
  const HxMessage::Mark before = HxMessage::mark();
  HxMessage::warning("Title", "text");
  EXPECT_THAT(sink.titledWarnings, ElementsAre(Pair("Title", "text")));
  EXPECT_THAT(sink.warnings, IsEmpty());
  EXPECT_EQ("text", HxMessage::newestSince(before));
  sink.clear();
  EXPECT_THAT(sink.titledWarnings, IsEmpty());
  PlainSink plain;
  HxMessage::warning("Title", "text");
  EXPECT_THAT(plain.warnings, ElementsAre("Title text"));
}
