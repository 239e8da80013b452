#include "quarn/base/McDim3l.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <limits>

#include "quarn/base/McException.h"

namespace {

constexpr std::int64_t kHuge = std::numeric_limits<std::int64_t>::max();

TEST(McDim3l, TakesVoxelCountsOfAGrid) {
  const McDim3l dimensions(McVec3i(13, 11, 7));
  EXPECT_EQ(dimensions, McDim3l(13, 11, 7));
  EXPECT_EQ(dimensions[0], 13);
  EXPECT_EQ(dimensions[1], 11);
  EXPECT_EQ(dimensions[2], 7);
}

TEST(McDim3l, CountsVoxelsIn64Bits) {
  EXPECT_EQ(McDim3l(4096, 4096, 4096).voxelCount(), 68719476736);
  EXPECT_EQ(McDim3l(kHuge, 1, 1).voxelCount(), kHuge);
  EXPECT_EQ(McDim3l().voxelCount(), 0);
  EXPECT_EQ(McDim3l(kHuge, kHuge, 0).voxelCount(), 0);
}

TEST(McDim3l, RefusesToCountWhatDoesNotFit) {
  EXPECT_THROW(McDim3l(kHuge, 2, 1).voxelCount(), McException);
  EXPECT_THROW(McDim3l(1, 1LL << 32, 1LL << 31).voxelCount(), McException);
  EXPECT_THROW(McDim3l(-1, 0, 5).voxelCount(), McException);
}

TEST(McDim3l, RefusalNamesTheCounts) {
  try {
    (void)McDim3l(4, -5, 6).voxelCount();
    FAIL() << "no exception";
  } catch (const McException& failure) {
    EXPECT_STREQ(failure.what(), "A volume cannot have 4 x -5 x 6 voxels.");
  }
}

}  // namespace
