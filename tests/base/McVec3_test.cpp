#include "quarn/base/McVec3.h"

#include <gtest/gtest.h>

#include "quarn/base/McVec3f.h"
#include "quarn/base/McVec3i.h"

namespace {

TEST(McVec3, DefaultIsZero) {
  EXPECT_EQ(McVec3i(), McVec3i(0, 0, 0));
}

TEST(McVec3, IndexAndNamesAreTheSameComponents) {
  McVec3i v(1, 2, 3);
  EXPECT_EQ(v[0], v.x);
  EXPECT_EQ(v[1], v.y);
  EXPECT_EQ(v[2], v.z);
  v[0] = 7;
  v[1] = 8;
  v[2] = 9;
  EXPECT_EQ(v, McVec3i(7, 8, 9));
}

TEST(McVec3, EveryComponentCountsInComparison) {
  const McVec3i v(1, 2, 3);
  EXPECT_NE(v, McVec3i(0, 2, 3));
  EXPECT_NE(v, McVec3i(1, 0, 3));
  EXPECT_NE(v, McVec3i(1, 2, 0));
}

TEST(McVec3, AddsAndSubtractsPerComponent) {
  EXPECT_EQ(McVec3i(1, 2, 3) + McVec3i(10, 20, 30), McVec3i(11, 22, 33));
  EXPECT_EQ(McVec3i(1, 2, 3) - McVec3i(10, 20, 30), McVec3i(-9, -18, -27));
  EXPECT_EQ(McVec3f(0.5F, 1, 2) - McVec3f(0.25F, 1, 1), McVec3f(0.25F, 0, 1));
}

}  // namespace
