#include "roitools/exchange/sharedVoxels.h"

#include <algorithm>

namespace roitools {

std::optional<OverlapCounts> countSharedVoxels(const std::vector<MaskContent>& contents,
                                               const hxvoxora::WorkCallback& goOn) {
  OverlapInput input;
  for (const MaskContent& content : contents) input.rois.push_back(content.voxels);
  return countOverlaps(input, goOn);
}

std::vector<int> assignLayers(const OverlapCounts& overlaps) {
  std::vector<int> layers;
  std::vector<std::vector<std::size_t>> members;
  for (std::size_t mask = 0; mask < overlaps.rois(); ++mask) {
    const auto hasRoom = [&](const auto& layer) {
      return std::ranges::none_of(layer, [&](std::size_t member) { return overlaps.shared(member, mask) > 0; });
    };
    const auto layer = std::ranges::find_if(members, hasRoom);
    layers.push_back(static_cast<int>(layer - members.begin()));
    if (layer == members.end()) {
      members.push_back({mask});
    } else {
      layer->push_back(mask);
    }
  }
  return layers;
}

}  // namespace roitools
