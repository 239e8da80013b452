#pragma once

#include <memory>

#include "quarn/kernel/fields/HxColormap.h"

namespace hxroi::details {

/// A colormap that is not owned: null from the moment when it is gone.
class ColormapReference {
public:
  ColormapReference() = default;
  explicit ColormapReference(const HxColormap* colormap) : colormap_(colormap) {
    if (colormap) life_ = colormap->life();
  }

  const HxColormap* get() const { return life_.expired() ? nullptr : colormap_; }

private:
  const HxColormap* colormap_ = nullptr;
  std::weak_ptr<const void> life_;
};

}  // namespace hxroi::details
