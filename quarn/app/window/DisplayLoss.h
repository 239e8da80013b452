#pragma once

#include <functional>

namespace quarn::app {

/// Keeps unsaved work while it lives when the process ends without its main loop: so it does when the display goes
/// away, wherever the program is then. What is not saved is left over to be recovered. One at a time; for the
/// user-interface thread.
class DisplayLoss {
public:
  /// `isIdle` tells whether objects are whole; while work is under way only what was kept before is left.
  explicit DisplayLoss(std::function<bool()> isIdle);
  ~DisplayLoss();
  DisplayLoss(const DisplayLoss&) = delete;
  DisplayLoss& operator=(const DisplayLoss&) = delete;
};

}  // namespace quarn::app
