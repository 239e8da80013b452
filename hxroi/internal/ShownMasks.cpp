#include "hxroi/internal/ShownMasks.h"

#include <algorithm>

#include "hxroi/HxRoiSelector.h"
#include "hxroi/HxRois.h"
#include "hxroi/details/Group.h"
#include "hxroi/details/Mask.h"

namespace hxroi {

using details::Group;
using details::Mask;
using details::Roi;

namespace {

/// Names of ROIs are Latin-1.
QString nameOf(const Roi& roi) {
  return QString::fromLatin1(roi.name());
}

/// Sets the marks of one selector.
class Marks {
public:
  Marks(HxRoiSelector& selector, std::set<const Mask*> shown) : port_(selector.portRoiVisibility), shown_(shown) {}

  void set(const HxRois& rois) {
    for (const auto& roi : rois) {
      if (const auto* group = dynamic_cast<const Group*>(roi.get())) {
        setMembers(*group);
      } else if (const auto* mask = dynamic_cast<const Mask*>(roi.get())) {
        show(*mask);
      }
    }
    if (hasChanged_) port_.send();
  }

private:
  void show(const Mask& mask) {
    if (shown_.contains(&mask) && !port_.isRoiVisible(nameOf(mask))) mark(mask, true);
  }

  /// The mark of a group counts for all of its masks: those that were hidden by it alone stay so by their own.
  void setMembers(const Group& group) {
    const bool isShown = std::any_of(group.begin(), group.end(), [&](const Mask& mask) { return wants(mask); });
    const bool wasHidden = isShown && !port_.isRoiVisible(nameOf(group));
    if (wasHidden) mark(group, true);
    for (const Mask& mask : group) {
      if (wasHidden) mark(mask, wants(mask));
      show(mask);
    }
  }

  bool wants(const Mask& mask) const { return shown_.contains(&mask); }

  void mark(const Roi& roi, bool visible) {
    port_.setRoiVisible(visible, nameOf(roi));
    hasChanged_ = true;
  }

  HxPortRoiTreeView& port_;
  const std::set<const Mask*> shown_;
  bool hasChanged_ = false;
};

/// Evaluations may remove them.
std::vector<McHandle<HxRoiSelector>> selectorsOf(const HxRois& rois) {
  std::vector<McHandle<HxRoiSelector>> selectors;
  for (const HxConnection* connection : rois.downstreamConnections()) {
    auto* const selector = dynamic_cast<HxRoiSelector*>(connection->owner());
    if (selector && connection == &selector->portData) selectors.emplace_back(selector);
  }
  return selectors;
}

std::set<const Mask*> masksOf(const HxRois& rois) {
  const auto masks = rois.editableMasks();
  return {masks.begin(), masks.end()};
}

}  // namespace

ShownMasks::ShownMasks(const HxRois& rois) {
  for (Mask* mask : rois.editableMasks()) masks_.emplace_back(mask);
  for (const auto& selector : selectorsOf(rois)) {
    Masks& shown = shown_[selector];
    for (const auto& mask : masks_)
      if (selector->portRoiVisibility.isRoiVisible(nameOf(*mask))) shown.insert(mask);
  }
}

ShownMasks ShownMasks::ofGone(const HxRois& rois) const {
  ShownMasks gone(*this);
  const Masks present = masksOf(rois);
  std::erase_if(gone.masks_, [&](const auto& mask) { return present.contains(mask); });
  for (auto& [selector, shown] : gone.shown_)
    std::erase_if(shown, [&](const Mask* mask) { return present.contains(mask); });
  return gone;
}

void ShownMasks::apply(const HxRois& rois, const std::function<Masks(const Masks&)>& wanted) const {
  for (const auto& selector : selectorsOf(rois)) {
    const auto known = shown_.find(selector);
    const bool isThere = selector->portData.source() == &rois;
    if (known != shown_.end() && isThere) Marks(*selector, wanted(known->second)).set(rois);
  }
}

void ShownMasks::showAgainIn(const HxRois& rois) const {
  apply(rois, [](const Masks& shown) { return shown; });
}

void ShownMasks::keepIn(const HxRois& rois) const {
  const Masks present = masksOf(rois);
  Masks added = present;
  std::vector<const Mask*> gone;
  for (const auto& mask : masks_)
    if (added.erase(mask) == 0) gone.push_back(mask);
  apply(rois, [&](Masks shown) {
    const bool wereShown = std::all_of(gone.begin(), gone.end(), [&](auto* mask) { return shown.contains(mask); });
    if (!gone.empty() && wereShown) shown.insert(added.begin(), added.end());
    return shown;
  });
}

}  // namespace hxroi
