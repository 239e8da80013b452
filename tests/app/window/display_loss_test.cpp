#include <cstdio>
#include <cstdlib>
#include <gmock/gmock.h>

#include "quarn/app/window/DisplayLoss.h"
#include "quarn/kernel/io/HxRecovery.h"
#include "quarn/kernel/objects/HxData.h"
#include "quarn/kernel/objects/HxObjectPool.h"

using quarn::app::DisplayLoss;
using ::testing::ExitedWithCode;

namespace {

/// Tells on stderr what it is asked for.
class TellingProvider : public HxRecoveryProvider {
public:
  bool hasAny() override { return false; }
  std::vector<HxLeftOver> list() override { return {}; }
  std::vector<McHandle<HxData>> load() override { return {}; }
  int discardLoaded() override { return 0; }
  void keepLoaded() override {}
  int discardAll() override { return 0; }
  void checkpoint() override {}
  void keepUnsaved() override { std::fputs("kept\n", stderr); }
};

/// A process with unsaved work whose display goes away.
[[noreturn]] void loseDisplay(bool isIdle) {
  TellingProvider provider;
  HxRecovery::instance().addProvider(&provider);
  const McHandle<HxObject> object = HxObject::create(QStringLiteral("HxTable"));
  HxObjectPool::instance().add(object.get(), QStringLiteral("figures"));
  auto& data = dynamic_cast<HxData&>(*object);
  data.touch();
  data.fire();
  const DisplayLoss loss([isIdle] { return isIdle; });
  std::exit(3);  // NOLINT(concurrency-mt-unsafe): as Qt does it
}

class DisplayLossDeathTest : public ::testing::Test {
protected:
  DisplayLossDeathTest() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
};

}  // namespace

TEST_F(DisplayLossDeathTest, KeepsWhatIsNotSaved) {
  EXPECT_EXIT(loseDisplay(true), ExitedWithCode(1),
              "kept\nquarn: what was not saved is kept as far as it can be; quarn --recover shows it");
}

TEST_F(DisplayLossDeathTest, LeavesWhatWasKeptBeforeWhileWorkIsUnderWay) {
  EXPECT_EXIT(loseDisplay(false), ExitedWithCode(1), ::testing::Not(::testing::HasSubstr("kept")));
}

TEST_F(DisplayLossDeathTest, MindsNoEndThatComesAfterIt) {
  EXPECT_EXIT(
      {
        {
          const DisplayLoss over([] { return true; });
        }
        std::exit(3);  // NOLINT(concurrency-mt-unsafe)
      },
      ExitedWithCode(3), "");
}
