#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "quarn/voxora/components/Component.h"
#include "roitools/export.h"

namespace roitools {

/// Of components that come one by one in any order, the largest ones from a least size on. Of equal ones that comes
/// first whose first voxel does. Memory follows the number that is kept.
class ROITOOLS_API LargestComponents {
public:
  LargestComponents(std::size_t count, std::uint64_t leastVoxels) : count_(count), leastVoxels_(leastVoxels) {}

  void add(const hxvoxora::Component& component);

  /// The largest first. Ends the work.
  std::vector<hxvoxora::Component> take();

private:
  std::size_t count_;
  std::uint64_t leastVoxels_;
  std::vector<hxvoxora::Component> kept_;  // a heap, the smallest in front
};

}  // namespace roitools
