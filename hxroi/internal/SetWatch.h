#pragma once

#include <functional>
#include <utility>

#include "hxroi/HxRois.h"
#include "quarn/base/McInterface.h"

namespace hxroi {

/// Tells that a set dies, while it is still whole. Attached to the set, which deletes it.
class SetWatch final : public McInterface {
public:
  SetWatch(HxRois& rois, std::function<void()> gone) : McInterface(&rois, 1), gone_(std::move(gone)) {}
  ~SetWatch() override {
    if (gone_) gone_();
  }

  /// Ends a watch that nobody needs any more.
  static void end(SetWatch* watch) {
    if (!watch) return;
    watch->gone_ = nullptr;
    delete watch;
  }

private:
  std::function<void()> gone_;
};

}  // namespace hxroi
