#include "hxroi/details/boxes.h"

#include <gtest/gtest.h>

using hxroi::emptyBox;
using hxroi::intersection;

TEST(Boxes, AccessModesHaveFixedValues) {
  EXPECT_EQ(static_cast<int>(hxroi::AccessMode::ReadOnly), 0);
  EXPECT_EQ(static_cast<int>(hxroi::AccessMode::WriteOnly), 1);
  EXPECT_EQ(static_cast<int>(hxroi::AccessMode::ReadWrite), 2);
}

TEST(Boxes, EmptyBoxHasExtremeBounds) {
  const McBox3i box = emptyBox<int>();
  for (int axis = 0; axis < 3; ++axis) {
    EXPECT_EQ(box[2 * axis], 2147483647);
    EXPECT_EQ(box[2 * axis + 1], -2147483647 - 1);
  }
  EXPECT_TRUE(box.isEmpty());
}

TEST(Boxes, EmptyPhysicalBoxHasExtremeBounds) {
  const McBox3f box = emptyBox<float>();
  EXPECT_EQ(box[0], 3.4028235e38F);
  EXPECT_EQ(box[5], -3.4028235e38F);
}

TEST(Boxes, IntersectionIsTheCommonPart) {
  EXPECT_EQ(intersection({0, 9, 0, 9, 0, 9}, {5, 12, -3, 4, 9, 9}), McBox3i(5, 9, 0, 4, 9, 9));
}

TEST(Boxes, IntersectionWithoutOverlapOnOneAxisIsTheEmptyBox) {
  EXPECT_EQ(intersection({0, 9, 0, 9, 0, 9}, {0, 9, 0, 9, 10, 12}), emptyBox<int>());
}

TEST(Boxes, IntersectionWithAnEmptyBoxIsTheEmptyBox) {
  const McBox3i inverted(0, 9, 5, 4, 0, 9);
  EXPECT_EQ(intersection(inverted, {0, 9, 0, 9, 0, 9}), emptyBox<int>());
  EXPECT_EQ(intersection({0, 9, 0, 9, 0, 9}, emptyBox<int>()), emptyBox<int>());
}

TEST(Boxes, ExtendedIgnoresEmptyBoxes) {
  const McBox3i box(1, 2, 3, 4, 5, 6);
  EXPECT_EQ(hxroi::extended(box, emptyBox<int>()), box);
  EXPECT_EQ(hxroi::extended(emptyBox<int>(), box), box);
  EXPECT_EQ(hxroi::extended(box, {0, 0, 4, 9, 5, 5}), McBox3i(0, 2, 3, 9, 5, 6));
}

TEST(Boxes, SizesCountBothBounds) {
  EXPECT_EQ(hxroi::sizeOf({2, 2, 0, 9, -1, 1}), McVec3i(1, 10, 3));
  EXPECT_EQ(hxroi::sizeOf(emptyBox<int>()), McVec3i(0, 0, 0));
  EXPECT_EQ(hxroi::wholeBox({13, 11, 7}), McBox3i(0, 12, 0, 10, 0, 6));
  EXPECT_TRUE(hxroi::boxAt({3, 3, 3}, {1, 0, 1}).isEmpty());
}
