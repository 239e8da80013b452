#include "quarn/base/McBox3i.h"

#include <gtest/gtest.h>
#include <limits>

namespace {

constexpr int kMax = 2147483647;
constexpr int kMin = std::numeric_limits<int>::min();

TEST(McBox3i, DefaultIsTheEmptyBox) {
  const McBox3i box;
  EXPECT_TRUE(box.isEmpty());
  EXPECT_EQ(box, McBox3i(kMax, kMin, kMax, kMin, kMax, kMin));
}

TEST(McBox3i, StoresMinimumAndMaximumAxisByAxis) {
  const McBox3i box(1, 2, 3, 4, 5, 6);
  for (int i = 0; i < 6; ++i) {
    EXPECT_EQ(box[i], i + 1);
    EXPECT_EQ(box.data()[i], i + 1);
  }
  EXPECT_EQ(box.getMin(), McVec3i(1, 3, 5));
  EXPECT_EQ(box.getMax(), McVec3i(2, 4, 6));
  EXPECT_EQ(box, McBox3i(McVec3i(1, 3, 5), McVec3i(2, 4, 6)));
}

TEST(McBox3i, SetValueReplacesAllBounds) {
  McBox3i box;
  box.setValue(1, 2, 3, 4, 5, 6);
  EXPECT_EQ(box, McBox3i(1, 2, 3, 4, 5, 6));
  box.setValue(McVec3i(0, 1, 2), McVec3i(3, 4, 5));
  EXPECT_EQ(box, McBox3i(0, 3, 1, 4, 2, 5));
}

TEST(McBox3i, IsEmptyWhenAnyAxisIs) {
  EXPECT_FALSE(McBox3i(3, 3, 4, 4, 5, 5).isEmpty());
  EXPECT_TRUE(McBox3i(3, 2, 0, 9, 0, 9).isEmpty());
  EXPECT_TRUE(McBox3i(0, 9, 3, 2, 0, 9).isEmpty());
  EXPECT_TRUE(McBox3i(0, 9, 0, 9, 3, 2).isEmpty());
}

TEST(McBox3i, ExtendingTheEmptyBoxGivesTheArgument) {
  const McBox3i argument(-4, 5, 0, 0, 7, 8);
  McBox3i box;
  box.extendBy(argument);
  EXPECT_EQ(box, argument);
  box.extendBy(McBox3i());
  EXPECT_EQ(box, argument);
  McBox3i point;
  point.extendBy(McVec3i(1, -2, 3));
  EXPECT_EQ(point, McBox3i(1, 1, -2, -2, 3, 3));
}

TEST(McBox3i, ExtendsToTheOuterBoundsOfBoth) {
  McBox3i box(0, 4, 0, 4, 0, 4);
  box.extendBy(McBox3i(2, 6, -3, 1, 1, 2));
  EXPECT_EQ(box, McBox3i(0, 6, -3, 4, 0, 4));
}

TEST(McBox3i, SizeCountsBothBounds) {
  EXPECT_EQ(McBox3i(3, 3, 0, 9, -2, 2).getSize(), McDim3l(1, 10, 5));
}

TEST(McBox3i, SizeDoesNotOverflow) {
  EXPECT_EQ(McBox3i().getSize(), McDim3l(0, 0, 0));
  EXPECT_EQ(McBox3i(3, 2, 0, 9, 0, 9).getSize(), McDim3l(0, 0, 0));
  EXPECT_EQ(McBox3i(kMin, kMax, 0, 0, -1, kMax).getSize(), McDim3l(4294967296, 1, 2147483649));
}

TEST(McBox3i, ContainsItsBounds) {
  const McBox3i box(0, 4, 10, 14, 20, 24);
  EXPECT_TRUE(box.contains(McVec3i(0, 10, 20)));
  EXPECT_TRUE(box.contains(McVec3i(4, 14, 24)));
  EXPECT_FALSE(box.contains(McVec3i(5, 14, 24)));
  EXPECT_FALSE(box.contains(McVec3i(0, 9, 20)));
  EXPECT_FALSE(box.contains(McVec3i(0, 10, 25)));
  EXPECT_FALSE(McBox3i().contains(McVec3i(0, 0, 0)));
}

TEST(McBox3i, ContainsBoxesInside) {
  const McBox3i box(0, 4, 0, 4, 0, 4);
  EXPECT_TRUE(box.contains(box));
  EXPECT_TRUE(box.contains(McBox3i()));
  EXPECT_FALSE(box.contains(McBox3i(0, 4, 0, 5, 0, 4)));
  EXPECT_FALSE(box.contains(McBox3i(-1, 4, 0, 4, 0, 4)));
}

}  // namespace
