#pragma once

#include <QImage>
#include <optional>
#include <utility>
#include <vector>

#include "quarn/base/McColor.h"
#include "quarn/view/ColorTransfer.h"
#include "quarn/view/MaskSetLook.h"
#include "quarn/view/SlicePlane.h"
#include "quarn/view/SurfaceCache.h"
#include "quarn/view/export.h"

namespace quarn::view {

/// A field behind the masks.
struct ImageLook {
  McHandle<HxUniformScalarField3> field;
  ColorTransfer transfer;
  std::pair<double, double> range{0, 1};  ///< of the values that the colours stand for
};

/// Draws slices: images, and over them masks as tints with outlines. What two masks share gets the look that their set
/// has for it, or the mean of both; it never depends on the order of the masks.
class QUARN_VIEW_API SlicePane {
public:
  SlicePane(const std::vector<ImageLook>& images, const std::vector<MaskSetLook>& sets, const McColor& background)
      : images_(images), sets_(sets), background_(background) {}

  /// Boxes of masks come from `boxes`; masks that cannot be read are told and left out.
  QImage paint(const SlicePlane& plane, SurfaceCache& boxes, Complaints& complaints) const;

private:
  const std::vector<ImageLook>& images_;
  const std::vector<MaskSetLook>& sets_;
  const McColor background_;
};

}  // namespace quarn::view
