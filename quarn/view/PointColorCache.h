#pragma once

#include <map>
#include <optional>

#include "quarn/kernel/fields/HxUniformScalarField3.h"
#include "quarn/view/ColorTransfer.h"
#include "quarn/view/ScenePane.h"
#include "quarn/view/export.h"

namespace quarn::view {

/// Colours of surfaces after the values of an image, made once as long as nothing of that changes.
class QUARN_VIEW_API PointColorCache {
public:
  /// Null without an image. Points outside of the image get the colour of the middle of the colormap.
  PointColors colorsOf(const SurfaceHandle& surface, const ColorTransfer& transfer, const HxUniformScalarField3* image);

  /// Drops those of surfaces that nobody else has.
  void removeUnused();
  void clear() { entries_.clear(); }

private:
  struct Entry {
    SurfaceHandle surface;
    std::optional<ColorTransfer> transfer;
    std::uint32_t imageTime = 0;
    const void* image = nullptr;
    PointColors colors;
  };

  std::map<const Surface*, Entry> entries_;
};

}  // namespace quarn::view
