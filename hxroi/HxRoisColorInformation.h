#pragma once

#include <optional>
#include <string>
#include <utility>

#include "hxroi/HxRois.h"
#include "hxroi/export.h"
#include "quarn/base/McColor.h"
#include "quarn/kernel/ports/HxPortColorList.h"
#include "quarn/kernel/ports/HxPortColormap.h"

namespace hxroi::details {
class Roi;
}
class HxColormap;

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

  /// Whether these are the ports of that ROI, which has not left the set since.
  bool isFor(const hxroi::details::Roi& roi) const { return roi_ == &roi; }
  void forgetRoi() { roi_ = nullptr; }

  /// Makes the ports show what has changed in the ROI since the last time; marks those that change. What the user has
  /// changed in the ports and the ROI does not know yet stays.
  void showValuesOf(const hxroi::details::Roi& roi);

  /// Gives the ROI what was changed in the ports. True when a port was new.
  bool applyChangesTo(hxroi::details::Roi& roi);

  HxPortColormap portColormap;
  HxPortColorList portColor;

private:
  /// What ROI and ports agreed in last.
  struct Values {
    explicit Values(const hxroi::details::Roi& roi);
    const HxColormap* colormap;
    std::pair<float, float> range;
    bool alphaEnabled;
    McColor color;
  };

  void show(const Values& values);

  const hxroi::details::Roi* roi_ = nullptr;
  std::optional<Values> shown_;
};
