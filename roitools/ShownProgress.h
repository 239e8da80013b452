#pragma once

#include <QString>
#include <atomic>
#include <chrono>
#include <thread>

#include "quarn/base/McProgressInterface.h"
#include "roitools/export.h"

namespace roitools {

/// Shows the progress of the user's application while it lives.
class ROITOOLS_API ShownProgress {
public:
  explicit ShownProgress(const QString& text);
  ~ShownProgress();
  ShownProgress(const ShownProgress&) = delete;
  ShownProgress& operator=(const ShownProgress&) = delete;

  McProgressInterface& display() const { return display_; }

  /// Another piece of work, from 0 again.
  void setText(const QString& text);

  /// For work that calls it all the time, as a WorkCallback: shows the part that is done, from 0 to 1, and asks the
  /// user, both twenty times a second and on the thread that made this object only. False once the user wants the work
  /// to end. Any thread, one call at a time.
  bool goOn(double fractionDone);

  /// While one lives, every call of goOn() asks: for tests of what an interruption leaves behind.
  class ROITOOLS_API EagerScope {
  public:
    EagerScope();
    ~EagerScope();
    EagerScope(const EagerScope&) = delete;
    EagerScope& operator=(const EagerScope&) = delete;
  };

private:
  using Clock = std::chrono::steady_clock;

  McProgressInterface& display_;
  Clock::time_point lastQuestion_{};  // the first call asks at once
  std::atomic<bool> interrupted_{false};
  const std::thread::id thread_ = std::this_thread::get_id();
};

}  // namespace roitools
