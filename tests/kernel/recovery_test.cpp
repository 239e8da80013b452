#include <gmock/gmock.h>

#include "quarn/base/McException.h"
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
  void discardLoaded() override { left = 0; }
  int discardAll() override { return std::exchange(left, 0); }

  int left;
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

TEST(Recovery, ProviderThatFailsHasNothing) {
  const Tables tables(-1);
  EXPECT_FALSE(HxRecovery::instance().hasAny());
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
