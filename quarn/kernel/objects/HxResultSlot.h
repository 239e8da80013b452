#pragma once

#include <cstdint>
#include <memory>

#include "quarn/base/McHandle.h"
#include "quarn/kernel/objects/HxData.h"

namespace quarn::detail {
class MakingRecord;
}  // namespace quarn::detail

/// A place for a result of a module.
class HxResultSlot {
public:
  HxData* object() const { return object_; }
  /// The touch time of the object when it was set; it differs from the object's own once that has been changed.
  std::uint32_t getTouchTime() const { return touchTime_; }

private:
  friend class HxCompModule;

  McHandle<HxData> object_;
  std::uint32_t touchTime_ = 0xFFFFFFFFu;
  std::shared_ptr<const quarn::detail::MakingRecord> record_;  ///< null when the module has not made the object
};
