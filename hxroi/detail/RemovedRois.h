#pragma once

#include <string>
#include <utility>
#include <vector>

#include "hxroi/HxRois.h"

class HxColormap;

namespace hxroi {

/// Top-level ROIs taken out of a set, with the colormaps that they lose by leaving, so that all can be put back.
class RemovedRois {
public:
  /// `rois` is not owned and outlives this.
  explicit RemovedRois(HxRois& rois) : rois_(rois) {}

  /// Throws McException when the set has no top-level ROI of that name.
  void remove(const std::string& name);

  /// Takes every ROI out that the set has.
  void removeAll();

  /// Appends the ROIs taken out, in the order in which they left. One that the set refuses is told on the console and
  /// does not keep the others away.
  void putBack();

private:
  HxRois& rois_;
  std::vector<std::pair<HxRois::RoiHandle, const HxColormap*>> removed_;
};

}  // namespace hxroi
