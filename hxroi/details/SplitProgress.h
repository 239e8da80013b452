#pragma once

#include <chrono>
#include <string>

#include "quarn/base/McProgressInterface.h"

namespace hxroi::details {

/// Progress of a split as its calling thread shows it, or none. Ends what it started.
class SplitProgress {
public:
  /// `progress` may be null, is not owned, and outlives this.
  explicit SplitProgress(McProgressInterface* progress) : progress_(progress) {}
  ~SplitProgress() { stop(); }
  SplitProgress(const SplitProgress&) = delete;
  SplitProgress& operator=(const SplitProgress&) = delete;

  void start(const std::string& text);
  void setText(const std::string& text);
  void stop();

  bool isInterrupted();

  /// For work that calls it all the time: ten times a second it shows what is done, from 0 to 1, and asks whether the
  /// user interrupted. False once that was so.
  bool goOn(double fractionDone);

private:
  using Clock = std::chrono::steady_clock;

  McProgressInterface* progress_;
  bool isRunning_ = false;
  bool isInterrupted_ = false;
  Clock::time_point lastQuestion_ = Clock::now();
};

}  // namespace hxroi::details
