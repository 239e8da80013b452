#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <vector>

#include "quarn/voxora/components/Component.h"
#include "tests/voxora/nodes/maskSupport.h"

/// The components of a dense mask the plain way, voxel by voxel: what the fast ones are compared with.
class PlainComponents {
public:
  PlainComponents(const DenseMask& mask, hxvoxora::Neighbours neighbours)
      : mask_(mask),
        neighbours_(neighbours),
        labels_(static_cast<std::size_t>(std::int64_t{mask.dimensions()[0]} * mask.dimensions()[1] *
                                         mask.dimensions()[2])) {
    DenseMask::forEachVoxel(mask.box(), [&](int x, int y, int z) {
      if (mask.at(x, y, z) && label(x, y, z) == 0) follow({x, y, z});
    });
  }

  /// In order of their first voxels.
  const std::vector<hxvoxora::Component>& all() const { return components_; }

  /// The voxels of the component with a number in all().
  DenseMask voxelsOf(std::size_t component) {
    DenseMask voxels(mask_.dimensions());
    DenseMask::forEachVoxel(components_[component].box,
                            [&](int x, int y, int z) { voxels.at(x, y, z) = label(x, y, z) == component + 1; });
    return voxels;
  }

private:
  std::size_t& label(int x, int y, int z) {
    const SbVec3i32& size = mask_.dimensions();
    return labels_[static_cast<std::size_t>((std::int64_t{z} * size[1] + y) * size[0] + x)];
  }

  void follow(const SbVec3i32& first) {
    components_.push_back({first, 0, {}});
    label(first[0], first[1], first[2]) = components_.size();
    std::vector<SbVec3i32> pending{first};
    while (!pending.empty()) {
      const SbVec3i32 at = pending.back();
      pending.pop_back();
      ++components_.back().voxelCount;
      components_.back().box.extendBy({at, at});
      const SbBox3i32 around({at[0] - 1, at[1] - 1, at[2] - 1}, {at[0] + 1, at[1] + 1, at[2] + 1});
      DenseMask::forEachVoxel(around.intersection(mask_.box()), [&](int x, int y, int z) {
        const int distance = std::abs(x - at[0]) + std::abs(y - at[1]) + std::abs(z - at[2]);
        if (neighbours_ == hxvoxora::Neighbours::Faces && distance > 1) return;
        if (!mask_.at(x, y, z) || label(x, y, z) != 0) return;
        label(x, y, z) = components_.size();
        pending.push_back({x, y, z});
      });
    }
  }

  const DenseMask& mask_;
  const hxvoxora::Neighbours neighbours_;
  std::vector<std::size_t> labels_;
  std::vector<hxvoxora::Component> components_;
};

/// Puts components into the order of their first voxels.
inline void sortByFirstVoxel(std::vector<hxvoxora::Component>& components) {
  const auto place = [](const hxvoxora::Component& component) {
    return std::array{component.first[2], component.first[1], component.first[0]};
  };
  std::sort(components.begin(), components.end(), [&](const auto& a, const auto& b) { return place(a) < place(b); });
}
