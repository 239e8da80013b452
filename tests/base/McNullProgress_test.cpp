#include "quarn/base/McNullProgress.h"

#include <gtest/gtest.h>

namespace {

TEST(McNullProgress, IsNeverInterrupted) {
  McNullProgress quiet;
  McProgressInterface& progress = quiet;
  progress.start("Working");
  EXPECT_FALSE(progress.isInterrupted());
  progress.setValue(0.5F);
  progress.setText("Still working");
  progress.setStepCount(2);
  progress.startStep("First");
  EXPECT_FALSE(progress.isInterrupted());
  progress.endStep();
  progress.endSteps();
  progress.stop();
  EXPECT_FALSE(progress.isInterrupted());
}

}  // namespace
