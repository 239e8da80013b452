#pragma once

#include <QString>
#include <vector>

#include "hxroi/details/ColormapReference.h"
#include "quarn/base/McHandle.h"

class HxRois;
class QxRoiTreeModel;

namespace hxroi::details {
class Roi;
}

namespace hxroi {

/// ROIs that a command took out of a set, with the places where they stood, so that the user can have them again. Holds
/// them alive, with their voxels.
class GoneRois {
public:
  GoneRois() = default;
  /// Notes all ROIs of a set, before a command.
  explicit GoneRois(const HxRois& rois);

  /// Forgets those that are still there, after the command.
  void keepGone(const HxRois& rois);
  bool isEmpty() const { return places_.empty(); }

  /// Puts them back, in tree and set, under free names, as long as there is room for them, and forgets those that are
  /// back. One that is refused, which the user is told, ends it.
  void bringBack(QxRoiTreeModel& model);

private:
  struct Place {
    McHandle<details::Roi> roi;
    McHandle<details::Roi> group;  ///< null at the top level
    int row;
    details::ColormapReference colormap;  ///< which it lost with its set
  };

  void note(const McHandle<details::Roi>& roi, const McHandle<details::Roi>& group, int row);
  static bool bringBack(QxRoiTreeModel& model, const Place& place);

  std::vector<Place> places_;
};

}  // namespace hxroi
