#include <cstdlib>
#include <gtest/gtest.h>
#include <numeric>
#include <set>
#include <tuple>

#include "quarn/voxora/morphology/detail/growthSteps.h"

namespace {

using hxvoxora::detail::growthSteps;
using Voxel = std::tuple<int, int, int>;

/// The voxels that one voxel grows to.
std::set<Voxel> grown(const std::vector<int>& steps) {
  std::set<Voxel> voxels{{0, 0, 0}};
  for (const int d : steps) {
    std::set<Voxel> more = voxels;
    for (const auto& [x, y, z] : voxels)
      more.insert({{x - d, y, z}, {x + d, y, z}, {x, y - d, z}, {x, y + d, z}, {x, y, z - d}, {x, y, z + d}});
    voxels = std::move(more);
  }
  return voxels;
}

TEST(GrowthSteps, ReachEveryVoxelWithoutAGapAndNoneFartherAway) {
  for (int reach = 0; reach <= 16; ++reach) {
    std::set<Voxel> ball;
    for (int x = -reach; x <= reach; ++x)
      for (int y = -reach; y <= reach; ++y)
        for (int z = -reach; z <= reach; ++z)
          if (std::abs(x) + std::abs(y) + std::abs(z) <= reach) ball.insert({x, y, z});
    EXPECT_EQ(grown(growthSteps(reach)), ball) << reach;
  }
}

TEST(GrowthSteps, AreFewerThanIterations) {
  EXPECT_EQ(growthSteps(1), (std::vector<int>{1}));
  EXPECT_EQ(growthSteps(3), (std::vector<int>{1, 1, 1}));
  EXPECT_EQ(growthSteps(hxvoxora::detail::maximumReach).size(), 5U);
}

}  // namespace
