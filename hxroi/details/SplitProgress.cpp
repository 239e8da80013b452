#include "hxroi/details/SplitProgress.h"

namespace hxroi::details {

namespace {

constexpr std::chrono::milliseconds kPause(100);

}  // namespace

void SplitProgress::start(const std::string& text) {
  if (!progress_) return;
  progress_->start(text);
  isRunning_ = true;
  lastQuestion_ = Clock::now();
}

void SplitProgress::setText(const std::string& text) {
  if (progress_) progress_->setText(text);
}

void SplitProgress::stop() {
  if (!isRunning_) return;
  isRunning_ = false;
  progress_->stop();
}

bool SplitProgress::isInterrupted() {
  if (progress_ && !isInterrupted_) isInterrupted_ = progress_->isInterrupted();
  lastQuestion_ = Clock::now();
  return isInterrupted_;
}

bool SplitProgress::goOn(double fractionDone) {
  if (!progress_ || isInterrupted_) return !isInterrupted_;
  if (Clock::now() - lastQuestion_ < kPause) return true;
  progress_->setValue(static_cast<float>(fractionDone));
  return !isInterrupted();
}

}  // namespace hxroi::details
