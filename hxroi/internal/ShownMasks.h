#pragma once

#include <functional>
#include <map>
#include <set>
#include <vector>

#include "quarn/base/McHandle.h"

class HxRois;
class HxRoiSelector;

namespace hxroi::details {
class Mask;
}

namespace hxroi {

/// Which masks the selectors of a set show, kept over a command of the user. In a selector what is new in a set begins
/// without a mark, also a mask that has moved into a new group; on the screen regions would vanish that the user has
/// only gathered or merged.
class ShownMasks {
public:
  /// Of all selectors that are connected to the set. Holds its masks, and no selector.
  explicit ShownMasks(const HxRois& rois);

  /// Shows the masks again that were shown, wherever they stand now, and new ones where all were that went for them.
  /// Hides nothing that is shown. The selectors must have been evaluated since the change; those of which the choice
  /// changes are so again.
  void keepIn(const HxRois& rois) const;
  /// The same without regard to new ones.
  void showAgainIn(const HxRois& rois) const;

  /// What is known of the masks that have left the set.
  ShownMasks ofGone(const HxRois& rois) const;

private:
  using Mask = details::Mask;
  using Masks = std::set<const Mask*>;

  void apply(const HxRois& rois, const std::function<Masks(const Masks& shown)>& wanted) const;

  std::vector<McHandle<Mask>> masks_;
  std::map<const HxRoiSelector*, Masks> shown_;
};

}  // namespace hxroi
