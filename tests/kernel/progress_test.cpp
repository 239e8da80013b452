#include <array>
#include <gmock/gmock.h>
#include <limits>
#include <sys/socket.h>
#include <unistd.h>

#include "quarn/kernel/app/HxApplication.h"
#include "quarn/kernel/app/HxInterrupt.h"
#include "quarn/kernel/app/HxProgress.h"

using ::testing::HasSubstr;
using ::testing::IsEmpty;

namespace {

/// A descriptor to draw on, and what was drawn.
class Screen {
public:
  Screen() { EXPECT_EQ(0, pipe(ends_.data())); }
  ~Screen() {
    close(ends_[0]);
    if (ends_[1] >= 0) close(ends_[1]);
  }
  int descriptor() const { return ends_[1]; }
  /// Everything drawn; ends drawing.
  std::string text() {
    close(std::exchange(ends_[1], -1));
    std::string all;
    std::array<char, 4096> chunk{};
    for (ssize_t n; (n = read(ends_[0], chunk.data(), chunk.size())) > 0;)
      all.append(chunk.data(), static_cast<std::size_t>(n));
    return all;
  }

private:
  std::array<int, 2> ends_{-1, -1};
};

}  // namespace

TEST(Progress, DrawsABarWithTextAndErasesIt) {
  Screen screen;
  HxProgress progress(screen.descriptor(), true);
  progress.start("Computing split");
  progress.stop();
  const std::string drawn = screen.text();
  EXPECT_THAT(drawn, HasSubstr("[..............................]   0% Computing split"));
  EXPECT_TRUE(drawn.ends_with("\r\033[K"));
}

TEST(Progress, DrawsNothingInAPipe) {
  Screen screen;
  HxProgress progress(screen.descriptor(), false);
  progress.start("Saving");
  progress.setValue(0.5f);
  progress.stop();
  EXPECT_THAT(screen.text(), IsEmpty());
}

TEST(Progress, TextsCannotMoveTheCursor) {
  Screen screen;
  HxProgress progress(screen.descriptor(), true);
  progress.start("a\nb\x1b[2Jc" + std::string(500, 'x'));
  progress.stop();
  const std::string drawn = screen.text();
  EXPECT_THAT(drawn, HasSubstr("a b [2Jc"));
  EXPECT_LT(drawn.size(), 200u);
}

TEST(Progress, ValuesStayBetweenZeroAndOne) {
  HxProgress progress(-1, false);
  progress.start("x");
  progress.setValue(-1.0f);
  EXPECT_FLOAT_EQ(0.0f, progress.overall());
  progress.setValue(0.25f);
  EXPECT_FLOAT_EQ(0.25f, progress.overall());
  progress.setValue(7.0f);
  EXPECT_FLOAT_EQ(1.0f, progress.overall());
  progress.setValue(std::numeric_limits<float>::quiet_NaN());
  EXPECT_FLOAT_EQ(0.0f, progress.overall());
}

TEST(Progress, ValuesCountWithinTheirStep) {
  HxProgress progress(-1, false);
  progress.start("all");
  progress.setStepCount(4);
  progress.startStep("one");
  progress.setValue(0.5f);
  EXPECT_FLOAT_EQ(0.125f, progress.overall());
  progress.endStep();
  progress.startStep("two");
  EXPECT_FLOAT_EQ(0.25f, progress.overall());
  progress.endStep();
  progress.endStep();
  progress.endStep();
  EXPECT_FLOAT_EQ(1.0f, progress.overall());
  progress.endStep();
  EXPECT_FLOAT_EQ(1.0f, progress.overall());
  progress.endSteps();
  progress.stop();
  EXPECT_FALSE(progress.isRunning());
}

TEST(Progress, SequencesAndStartsNest) {
  HxProgress progress(-1, false);
  progress.start("outer");
  progress.setStepCount(2);
  progress.startStep("first");
  progress.start("inner");
  progress.setStepCount(2);
  progress.startStep("inner first");
  progress.endStep();
  EXPECT_FLOAT_EQ(0.25f, progress.overall());
  progress.endSteps();
  progress.stop();
  EXPECT_TRUE(progress.isRunning());
  progress.endStep();
  EXPECT_FLOAT_EQ(0.5f, progress.overall());
  progress.endSteps();
  progress.stop();
  EXPECT_FALSE(progress.isRunning());
}

TEST(Progress, SequenceOfNoStepsIsHarmless) {
  HxProgress progress(-1, false);
  progress.setStepCount(0);
  progress.startStep("none");
  progress.setValue(0.5f);
  EXPECT_FLOAT_EQ(0.5f, progress.overall());
  progress.endSteps();
  progress.endSteps();
  progress.stop();
}

TEST(Progress, InterruptIsTheUsersWish) {
  HxInterrupt::clear();
  HxProgress progress(-1, false);
  EXPECT_FALSE(progress.isInterrupted());
  HxInterrupt::request();
  EXPECT_TRUE(progress.isInterrupted());
  HxInterrupt::clear();
  EXPECT_FALSE(progress.isInterrupted());
}

TEST(Progress, ApplicationTakesAnother) {
  HxProgress mine(-1, false);
  McProgressInterface* const former = HxApplication::setProgress(&mine);
  EXPECT_EQ(&mine, HxApplication::progress());
  EXPECT_EQ(&mine, HxApplication::setProgress(nullptr));
  EXPECT_EQ(former, HxApplication::progress());
}
