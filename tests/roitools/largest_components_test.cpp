#include <algorithm>
#include <gtest/gtest.h>
#include <tuple>

#include "roitools/LargestComponents.h"
#include "tests/voxora/RandomSource.h"

namespace {

using hxvoxora::Component;
using roitools::LargestComponents;

Component component(std::uint64_t voxels, int x, int y = 0, int z = 0) {
  return {{x, y, z}, voxels, {{x, y, z}, {x, y, z}}};
}

TEST(LargestComponents, PutTheLargestFirstAndEarlierOnesBeforeEqualOnes) {
  LargestComponents largest(3, 1);
  for (const Component& next : {component(5, 0, 0, 1), component(5, 7, 0, 0), component(9, 0), component(1, 3)})
    largest.add(next);
  const std::vector<Component> expected{component(9, 0), component(5, 7, 0, 0), component(5, 0, 0, 1)};
  EXPECT_EQ(largest.take(), expected);
}

TEST(LargestComponents, LeaveOutWhatIsTooSmall) {
  LargestComponents largest(10, 4);
  for (const std::uint64_t voxels : {3u, 4u, 100u}) largest.add(component(voxels, static_cast<int>(voxels)));
  ASSERT_EQ(largest.take(), (std::vector<Component>{component(100, 100), component(4, 4)}));
}

TEST(LargestComponents, KeepNoneOfNone) {
  LargestComponents none(0, 1);
  none.add(component(5, 1));
  EXPECT_TRUE(none.take().empty());
  EXPECT_TRUE(LargestComponents(5, 1).take().empty());
}

TEST(LargestComponents, EqualASortOfAll) {
  RandomSource random;
  std::vector<Component> all;
  LargestComponents largest(20, 3);
  for (int i = 0; i < 500; ++i) {
    all.push_back(component(random.between<std::uint64_t>(1, 30), i % 7, i / 7 % 11, i / 77));
    largest.add(all.back());
  }
  const auto key = [](const Component& c) { return std::tuple(~c.voxelCount, c.first[2], c.first[1], c.first[0]); };
  std::erase_if(all, [](const Component& c) { return c.voxelCount < 3; });
  std::sort(all.begin(), all.end(), [&](const Component& a, const Component& b) { return key(a) < key(b); });
  all.resize(20);
  EXPECT_EQ(largest.take(), all);
}

}  // namespace
