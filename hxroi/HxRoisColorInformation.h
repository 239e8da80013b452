#pragma once

#include <string>

#include "hxroi/HxRois.h"
#include "hxroi/export.h"
#include "quarn/kernel/ports/HxPortColorList.h"
#include "quarn/kernel/ports/HxPortColormap.h"

namespace hxroi::details {
class Roi;
}

/// The ports of a set that show the colour and the colormap of one of its ROIs: "color-" and "colormap-" with the name
/// of the ROI behind. Hidden until that ROI is the only one selected.
class HXROI_API HxRois::ColorInformation {
public:
  ColorInformation(HxObject* owner, const char* roiName);

  /// Ports with the values of a ROI, without marks.
  ColorInformation(HxObject* owner, const hxroi::details::Roi& roi);

  /// Both ports follow the new name of the ROI.
  void rename(const std::string& roiName);

  void setVisible(bool visible);

  /// Makes the ports show the values of the ROI; marks those that change.
  void showValuesOf(const hxroi::details::Roi& roi);

  /// Gives the ROI what was changed in the ports. True when a port was new.
  bool applyChangesTo(hxroi::details::Roi& roi) const;

  HxPortColormap portColormap;
  HxPortColorList portColor;
};
