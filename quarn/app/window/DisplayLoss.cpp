#include "quarn/app/window/DisplayLoss.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <utility>

#include "quarn/kernel/io/HxRecovery.h"
#include "quarn/kernel/objects/unsavedData.h"

namespace quarn::app {
namespace {

/// Empty unless there is a guard.
std::function<bool()>& idleTest() {
  static std::function<bool()> test;
  return test;
}

void keepWork() {
  if (!idleTest()() || unsavedData().isEmpty()) return;
  HxRecovery::instance().keepUnsaved();
  std::fputs("quarn: what was not saved is kept as far as it can be; quarn --recover shows it\n", stderr);
}

/// Called by exit(). What is destroyed after it would take the work along.
void endWithoutLoss() {
  if (!idleTest()) return;
  try {
    keepWork();
  } catch (const std::exception& failure) {
    std::fprintf(stderr, "quarn: %s\n", failure.what());
  }
  std::fflush(nullptr);
  std::_Exit(EXIT_FAILURE);
}

}  // namespace

DisplayLoss::DisplayLoss(std::function<bool()> isIdle) {
  idleTest() = std::move(isIdle);
  // At the end the last to come are the first to go: once for each window, so that it comes before what that one made.
  std::atexit(endWithoutLoss);
}

DisplayLoss::~DisplayLoss() {
  idleTest() = nullptr;
}

}  // namespace quarn::app
