#pragma once

#include <chrono>

#include "quarn/voxora/tiles/WorkCallback.h"

namespace hxvoxora::detail {

/// Asks a callback whether to go on, often enough and no more. For one thread.
class WorkMeter {
public:
  explicit WorkMeter(const WorkCallback& callback) : callback_(callback) {}

  /// False when the work is to be given up.
  bool mayGoOn(double fractionDone) {
    if (!callback_) return true;
    const auto now = std::chrono::steady_clock::now();
    if (now - lastAsked_ < pause) return true;
    lastAsked_ = now;
    return callback_(fractionDone);
  }

private:
  static constexpr std::chrono::milliseconds pause{40};

  const WorkCallback& callback_;
  std::chrono::steady_clock::time_point lastAsked_ = std::chrono::steady_clock::now();
};

}  // namespace hxvoxora::detail
