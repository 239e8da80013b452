#pragma once

#include <optional>

#include "quarn/kernel/export.h"
#include "quarn/kernel/fields/HxGeometry3.h"

/// What knows where its voxels lie in the world, although no volume is there to tell it. For the user-interface thread.
class QUARN_KERNEL_API HxPlaced {
public:
  virtual ~HxPlaced();

  /// Nothing when it is not known.
  virtual std::optional<HxGeometry3> place() const = 0;
};
