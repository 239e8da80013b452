#include "roitools/ShownProgress.h"

#include "quarn/kernel/app/HxApplication.h"

namespace roitools {

namespace {

constexpr std::chrono::milliseconds kUsualPause(50);
std::chrono::milliseconds pause = kUsualPause;

}  // namespace

ShownProgress::EagerScope::EagerScope() {
  pause = pause.zero();
}

ShownProgress::EagerScope::~EagerScope() {
  pause = kUsualPause;
}

ShownProgress::ShownProgress(const QString& text) : display_(*HxApplication::progress()) {
  display_.start(text.toStdString());
}

ShownProgress::~ShownProgress() {
  display_.stop();
}

void ShownProgress::setText(const QString& text) {
  display_.setText(text.toStdString());
  display_.setValue(0);
}

bool ShownProgress::goOn(double fractionDone) {
  if (std::this_thread::get_id() != thread_) return !interrupted_;
  const Clock::time_point now = Clock::now();
  if (interrupted_ || now - lastQuestion_ < pause) return !interrupted_;
  lastQuestion_ = now;
  display_.setValue(static_cast<float>(fractionDone));
  interrupted_ = display_.isInterrupted();
  return !interrupted_;
}

}  // namespace roitools
