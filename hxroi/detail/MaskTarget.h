#pragma once

#include "quarn/voxora/tiles/WorkCallback.h"

namespace hxroi {

namespace details {
class Mask;
}

/// Where the files of masks go.
class MaskTarget {
public:
  MaskTarget() = default;
  virtual ~MaskTarget() = default;
  MaskTarget(const MaskTarget&) = delete;
  MaskTarget& operator=(const MaskTarget&) = delete;

  /// Writes the files of a mask under its name. False when `goOn` gave up; nothing is written then. Throws SaveStopped
  /// when no other mask can be written either, and any other std::exception when this one cannot.
  virtual bool write(details::Mask& mask, const hxvoxora::WorkCallback& goOn) = 0;

  /// Whether a mask that could not be written can be loaded from files of its own that a former save left. Throws
  /// SaveStopped when the save must not go on without this mask.
  virtual bool hasFormerFiles(const details::Mask& mask) = 0;
};

}  // namespace hxroi
