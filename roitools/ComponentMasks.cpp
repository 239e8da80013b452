#include "roitools/ComponentMasks.h"

#include <optional>
#include <utility>

#include "hxroi/details/Mask.h"
#include "quarn/base/McColor.h"
#include "quarn/voxora/components/componentAt.h"

namespace roitools {

using hxroi::details::Mask;
using hxvoxora::Component;
using hxvoxora::TileSnapshot;

namespace {

McHandle<Mask> newMask(const Mask& source, const std::string& suffix) {
  McHandle<Mask> mask(
      new Mask(source.name() + "-" + suffix, source.dimensions(), false, McColor::nextHtmlColor(), nullptr));
  mask->setColormapRange(source.colormapRange(false));
  return mask;
}

McBox3i boxOf(const Component& component) {
  const SbVec3i32 &min = component.box.getMin(), &max = component.box.getMax();
  return {min[0], max[0], min[1], max[1], min[2], max[2]};
}

}  // namespace

std::vector<McHandle<Mask>> makeComponentMasks(const Mask& source, const SelectedComponents& selected,
                                               const hxvoxora::WorkCallback& callback) {
  const double count = static_cast<double>(selected.components.size()) + (selected.withRest ? 1 : 0);
  std::vector<McHandle<Mask>> masks;
  /// The next mask: following a component is half of the work, saving the other.
  const auto part = [&](double begin) {
    return [&, begin](double fraction) {
      return !callback || callback((static_cast<double>(masks.size()) + begin + fraction / 2) / count);
    };
  };
  const auto add = [&](McHandle<Mask> mask) {
    if (!mask->flush(Mask::AllLevels, part(0.5))) return false;
    masks.push_back(std::move(mask));
    return part(0)(0);
  };

  McHandle<Mask> rest;
  if (selected.withRest) {
    rest = newMask(source, "rest");
    rest->setContent(selected.volume);
  }
  for (const Component& component : selected.components) {
    const std::optional<TileSnapshot> content =
        hxvoxora::componentAt(selected.volume, selected.neighbours, component.first, part(0));
    if (!content) return {};
    const McHandle<Mask> mask = newMask(source, std::to_string(masks.size() + 1));
    mask->setContent(*content);
    mask->setBoundingBox(boxOf(component));
    if (rest) *rest -= *mask;
    if (!add(mask)) return {};
  }
  if (rest && !add(rest)) return {};
  return masks;
}

}  // namespace roitools
