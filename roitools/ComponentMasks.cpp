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
  std::vector<McHandle<Mask>> masks;
  McHandle<Mask> rest;
  if (selected.withRest) {
    rest = newMask(source, "rest");
    rest->setContent(selected.volume);
  }
  const double count = static_cast<double>(selected.components.size());
  for (const Component& component : selected.components) {
    const auto step = [&](double fraction) {
      return !callback || callback((static_cast<double>(masks.size()) + fraction) / count);
    };
    const std::optional<TileSnapshot> content =
        hxvoxora::componentAt(selected.volume, selected.neighbours, component.first, step);
    if (!content || !step(1)) return {};
    masks.push_back(newMask(source, std::to_string(masks.size() + 1)));
    masks.back()->setContent(*content);
    masks.back()->setBoundingBox(boxOf(component));
    if (rest) *rest -= *masks.back();
    masks.back()->flush(Mask::AllLevels);
  }
  if (!rest || rest->empty()) return masks;
  rest->flush(Mask::AllLevels);
  masks.push_back(std::move(rest));
  return masks;
}

}  // namespace roitools
