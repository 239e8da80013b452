#include "quarn/app/Session.h"

#include <gmock/gmock.h>

#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/kernel/packages/HxPackageLoader.h"
#include "quarn/kernel/script/HxCommandTable.h"

using quarn::app::CommandLine;
using quarn::app::Session;
using ::testing::HasSubstr;
using ::testing::internal::CaptureStderr;
using ::testing::internal::GetCapturedStderr;

namespace {

/// A command that reports what nobody can go on after.
void addShout() {
  if (HxCommandTable::instance().find("shout")) return;
  HxCommandTable::instance().add({"shout", "", 0, 0, "Reports a critical message.",
                                  [](HxCommandCall&) { HxMessage::critical("quarn- Critical", "the disk is gone"); }});
}

int statusOf(const QString& command) {
  CommandLine line;
  line.mode = CommandLine::Mode::Command;
  line.command = command;
  Session session(line);
  session.prepare();
  return session.run();
}

}  // namespace

TEST(Session, CriticalMessageMakesTheStatusOne) {
  addShout();
  CaptureStderr();
  EXPECT_EQ(1, statusOf("shout; set a 1"));
  EXPECT_THAT(GetCapturedStderr(), HasSubstr("quarn- Critical: the disk is gone\n"));
  EXPECT_EQ(0, statusOf("set a {}"));
}

TEST(Session, NothingRunsAfterACriticalMessage) {
  addShout();
  CaptureStderr();
  EXPECT_EQ(1, statusOf("shout; exit 5"));
  EXPECT_EQ(1, statusOf("catch {shout}; exit 0"));
  GetCapturedStderr();
}

TEST(Session, EndEmptiesThePoolAndClosesThePackages) {
  EXPECT_EQ(0, statusOf("create HxTable t; set a {}"));
  EXPECT_TRUE(HxObjectPool::instance().objects().empty());
  EXPECT_EQ(QStringList(), HxPackageLoader::instance().loaded());
}
