#include <chrono>
#include <gmock/gmock.h>
#include <thread>

#include "quarn/base/McException.h"
#include "quarn/kernel/app/HxApplication.h"
#include "quarn/kernel/app/HxPreferences.h"
#include "quarn/kernel/app/HxRecordingSink.h"
#include "quarn/kernel/fields/HxTable.h"
#include "quarn/kernel/io/HxRecovery.h"
#include "quarn/kernel/objects/HxObjectPool.h"

using ::testing::ElementsAre;

namespace {

/// Has tables to offer.
class Tables : public HxRecoveryProvider {
public:
  explicit Tables(int count) : left(count) { HxRecovery::instance().addProvider(this); }
  ~Tables() override { HxRecovery::instance().removeProvider(this); }

  bool hasAny() override {
    if (left < 0) throw McException("the folder cannot be read");
    return left > 0;
  }
  std::vector<HxLeftOver> list() override {
    HxLeftOver leftOver;
    leftOver.name = "table";
    return std::vector<HxLeftOver>(static_cast<std::size_t>(left), leftOver);
  }
  std::vector<McHandle<HxData>> load() override {
    std::vector<McHandle<HxData>> objects;
    for (int i = 0; i < left; ++i) objects.emplace_back(new HxTable);
    return objects;
  }
  int discardLoaded() override { return std::exchange(left, 0); }
  void keepLoaded() override { ++kept; }
  int discardAll() override { return std::exchange(left, 0); }
  void checkpoint() override {
    ++checkpoints;
    if (left < 0) throw McException("the disk is full");
  }

  int left;
  void keepUnsaved() override { ++unsavedKept; }

  int checkpoints = 0;
  int kept = 0;
  int unsavedKept = 0;
};

}  // namespace

TEST(Recovery, AsksEveryProvider) {
  HxRecovery& recovery = HxRecovery::instance();
  EXPECT_FALSE(recovery.hasAny());
  Tables first(0), second(2), third(1);
  EXPECT_TRUE(recovery.hasAny());
  EXPECT_EQ(3U, recovery.list().size());
  EXPECT_EQ(3, recovery.discardAll());
  EXPECT_FALSE(recovery.hasAny());
}

TEST(Recovery, LoadsIntoThePoolAndDiscardsWhenTold) {
  Tables tables(2);
  const QStringList names = HxRecovery::instance().load();
  EXPECT_EQ(QStringList({"recovered", "recovered2"}), names);
  EXPECT_TRUE(HxObjectPool::instance().find("recovered2"));
  EXPECT_EQ(2, tables.left);
  HxRecovery::instance().discardLoaded();
  EXPECT_EQ(0, tables.left);
  for (const QString& name : names) HxObjectPool::instance().remove(HxObjectPool::instance().find(name));
}

TEST(Recovery, WhatIsKeptStays) {
  Tables first(1), second(2);
  HxRecovery& recovery = HxRecovery::instance();
  recovery.keepLoaded();
  recovery.keepUnsaved();
  for (const Tables* tables : {&first, &second}) {
    EXPECT_EQ(1, tables->kept);
    EXPECT_EQ(1, tables->unsavedKept);
  }
  EXPECT_EQ(3U, recovery.list().size());
  EXPECT_EQ(3, recovery.discardLoaded());
}

TEST(Recovery, ProviderThatFailsHasNothing) {
  const Tables tables(-1);
  EXPECT_FALSE(HxRecovery::instance().hasAny());
}

TEST(Recovery, CheckpointsAreMadeAtIntervals) {
  HxRecovery& recovery = HxRecovery::instance();
  HxPreferences& preferences = *HxApplication::instance()->settings()->getPreferences();
  EXPECT_EQ("60", preferences.get("Recovery Interval"));
  Tables tables(0);
  preferences.set("recovery interval", "1");
  std::this_thread::sleep_for(std::chrono::milliseconds(1100));
  EXPECT_EQ(0, recovery.untilCheckpoint());
  recovery.checkpointIfDue();
  recovery.checkpointIfDue();
  EXPECT_EQ(1, tables.checkpoints);
  EXPECT_GT(recovery.untilCheckpoint(), 0);
  EXPECT_LE(recovery.untilCheckpoint(), 1000);
  std::this_thread::sleep_for(std::chrono::milliseconds(1100));
  HxRecordingSink console;
  tables.left = -1;
  recovery.checkpointIfDue();
  EXPECT_EQ(2, tables.checkpoints);
  EXPECT_THAT(console.consoleText(), ::testing::HasSubstr("the disk is full"));
  preferences.set("Recovery Interval", "0");
  EXPECT_EQ(-1, recovery.untilCheckpoint());
  EXPECT_THROW(preferences.set("Recovery Interval", "-1"), McException);
  EXPECT_THROW(preferences.set("Recovery Interval", "3601"), McException);
  EXPECT_THROW(preferences.set("Recovery Interval", "often"), McException);
  preferences.set("Recovery Interval", "60");
}

TEST(Recovery, TextHasEverythingInOneLine) {
  HxLeftOver leftOver;
  leftOver.bytes = 12;
  EXPECT_EQ("(no name): 12 bytes", leftOver.toText());
  leftOver.name = "brain";
  leftOver.description = "mask";
  leftOver.lastWrite = QDateTime(QDate(2026, 1, 15), QTime(9, 30, 12), Qt::UTC);
  leftOver.problem = "torn";
  EXPECT_EQ("brain: mask, 12 bytes, 2026-01-15 09:30:12 UTC, cannot be recovered: torn", leftOver.toText());
}
