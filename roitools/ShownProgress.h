#pragma once

#include <QString>
#include <chrono>

#include "quarn/base/McProgressInterface.h"

namespace roitools {

/// Shows the progress of the user's application while it lives.
class ShownProgress {
public:
  explicit ShownProgress(const QString& text);
  ~ShownProgress();
  ShownProgress(const ShownProgress&) = delete;
  ShownProgress& operator=(const ShownProgress&) = delete;

  McProgressInterface& display() const { return display_; }

  /// Another piece of work, from 0 again.
  void setText(const QString& text);

  /// For work that calls it all the time, as a WorkCallback: shows the part that is done, from 0 to 1, and asks the
  /// user, both twenty times a second. False once the user wants the work to end.
  bool goOn(double fractionDone);

private:
  using Clock = std::chrono::steady_clock;

  McProgressInterface& display_;
  Clock::time_point lastQuestion_{};  // the first call asks at once
  bool interrupted_ = false;
};

}  // namespace roitools
