#include "roitools/LargestComponents.h"

#include <algorithm>
#include <tuple>
#include <utility>

namespace roitools {

using hxvoxora::Component;

namespace {

bool isLarger(const Component& a, const Component& b) {
  if (a.voxelCount != b.voxelCount) return a.voxelCount > b.voxelCount;
  return std::tuple(a.first[2], a.first[1], a.first[0]) < std::tuple(b.first[2], b.first[1], b.first[0]);
}

}  // namespace

void LargestComponents::add(const Component& component) {
  if (count_ == 0 || component.voxelCount < leastVoxels_) return;
  if (kept_.size() == count_) {
    if (!isLarger(component, kept_.front())) return;
    std::pop_heap(kept_.begin(), kept_.end(), isLarger);
    kept_.pop_back();
  }
  kept_.push_back(component);
  std::push_heap(kept_.begin(), kept_.end(), isLarger);
}

std::vector<Component> LargestComponents::take() {
  std::sort_heap(kept_.begin(), kept_.end(), isLarger);
  return std::move(kept_);
}

}  // namespace roitools
