#include "quarn/base/McBox3f.h"

#include <gtest/gtest.h>
#include <limits>

namespace {

constexpr float kMax = 3.4028235e38F;

TEST(McBox3f, DefaultIsTheEmptyBox) {
  const McBox3f box;
  EXPECT_TRUE(box.isEmpty());
  EXPECT_EQ(box, McBox3f(kMax, -kMax, kMax, -kMax, kMax, -kMax));
}

TEST(McBox3f, ServesAsSixFloats) {
  McBox3f box;
  const auto fill = [](float bounds[6]) {
    for (int i = 0; i < 6; ++i) bounds[i] = static_cast<float>(i);
  };
  fill(box.data());
  EXPECT_EQ(box, McBox3f(0, 1, 2, 3, 4, 5));
  EXPECT_EQ(box.getMin(), McVec3f(0, 2, 4));
  EXPECT_EQ(box.getMax(), McVec3f(1, 3, 5));
}

TEST(McBox3f, ExtendingTheEmptyBoxGivesTheArgument) {
  McBox3f box;
  box.extendBy(McBox3f(-1.5F, 2, 0, 0, 3, 4));
  EXPECT_EQ(box, McBox3f(-1.5F, 2, 0, 0, 3, 4));
  box.extendBy(McVec3f(0, 5, -1));
  EXPECT_EQ(box, McBox3f(-1.5F, 2, 0, 5, -1, 4));
}

TEST(McBox3f, VoxelSizeIsTheDistanceOfVoxelCentres) {
  const McBox3f box(-90, 90, -126, 90, -72, 108);
  EXPECT_EQ(box.getVoxelSize(McVec3i(181, 217, 181)), McVec3f(1, 1, 1));
  EXPECT_EQ(box.getVoxelSize(McVec3i(2, 3, 5)), McVec3f(180, 108, 45));
}

TEST(McBox3f, VoxelSizeOfASingleLayerIsTheWholeExtent) {
  const McBox3f box(0, 3, 0, 4, 7, 7);
  EXPECT_EQ(box.getVoxelSize(McVec3i(1, 1, 1)), McVec3f(3, 4, 0));
  EXPECT_EQ(box.getVoxelSize(McVec3i(0, -5, std::numeric_limits<int>::min())), McVec3f(3, 4, 0));
}

TEST(McBox3f, VoxelSizeOfTheEmptyBoxIsZero) {
  EXPECT_EQ(McBox3f().getVoxelSize(McVec3i(10, 10, 1)), McVec3f(0, 0, 0));
}

TEST(McBox3f, VoxelSizeStaysFinite) {
  const McBox3f all(-kMax, kMax, -kMax, kMax, 0, 1);
  EXPECT_EQ(all.getVoxelSize(McVec3i(2, 3, 2)), McVec3f(kMax, kMax, 1));
}

}  // namespace
