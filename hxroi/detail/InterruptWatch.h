#pragma once

#include <string>

#include "quarn/base/McProgressInterface.h"

namespace hxroi {

/// Hands everything on to another progress display, and remembers whether it was interrupted.
class InterruptWatch final : public McProgressInterface {
public:
  /// `progress` is not owned and outlives this.
  explicit InterruptWatch(McProgressInterface& progress) : progress_(progress) {}

  bool wasInterrupted() const { return wasInterrupted_; }

  void start(const std::string& text) override { progress_.start(text); }
  bool isInterrupted() override {
    const bool isNow = progress_.isInterrupted();
    wasInterrupted_ = wasInterrupted_ || isNow;
    return isNow;
  }
  void setValue(float value) override { progress_.setValue(value); }
  void setText(const std::string& text) override { progress_.setText(text); }
  void stop() override { progress_.stop(); }

  void setStepCount(int count) override { progress_.setStepCount(count); }
  void startStep(const std::string& text) override { progress_.startStep(text); }
  void endStep() override { progress_.endStep(); }
  void endSteps() override { progress_.endSteps(); }

private:
  McProgressInterface& progress_;
  bool wasInterrupted_ = false;
};

}  // namespace hxroi
