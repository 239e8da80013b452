#include "tests/hxroi/MaskTest.h"

namespace {

using MaskBounds = MaskTest;

constexpr McBox3i kBox(2, 4, 3, 5, 1, 2);

}  // namespace

TEST_F(MaskBounds, ExactBoxIsComputedAndRemembered) {
  const auto mask = makeMask({13, 11, 7}, kBox);
  EXPECT_FALSE(mask->cachedBoundingBox());
  EXPECT_EQ(mask->getBoundingBox(), kBox);
  EXPECT_EQ(mask->cachedBoundingBox(), kBox);
}

TEST_F(MaskBounds, RememberedBoxIsNotComputedAgain) {
  const auto mask = makeMask({13, 11, 7}, kBox);
  mask->setBoundingBox({0, 1, 0, 1, 0, 1});
  EXPECT_EQ(mask->getBoundingBox(), McBox3i(0, 1, 0, 1, 0, 1));
}

TEST_F(MaskBounds, OnlyTheApproximatedBoxIsScanned) {
  const auto mask = makeMask({13, 11, 7}, kBox);
  fill(*mask, {12, 12, 10, 10, 6, 6});
  mask->setApproximatedBoundingBox({1, 8, 1, 8, 1, 5});
  EXPECT_EQ(mask->getBoundingBox(), kBox);
  EXPECT_EQ(mask->cachedBoundingBox(), kBox);
  EXPECT_FALSE(mask->cachedApproximatedBoundingBox());
}

TEST_F(MaskBounds, EmptyApproximatedBoxNeedsNoScan) {
  const auto mask = makeMask({13, 11, 7}, kBox);
  mask->setApproximatedBoundingBox(hxroi::emptyBox<int>());
  EXPECT_EQ(mask->getBoundingBox(), hxroi::emptyBox<int>());
  EXPECT_TRUE(mask->empty());
}

TEST_F(MaskBounds, SettersClipAndForgetTheOtherBox) {
  const auto mask = makeMask();
  mask->setBoundingBox({-5, 5, 3, 99, 0, 6});
  EXPECT_EQ(mask->cachedBoundingBox(), McBox3i(0, 5, 3, 10, 0, 6));
  mask->setApproximatedBoundingBox({5, 50, 5, 50, 5, 50});
  EXPECT_EQ(mask->cachedApproximatedBoundingBox(), McBox3i(5, 12, 5, 10, 5, 6));
  EXPECT_FALSE(mask->cachedBoundingBox());
  mask->setBoundingBox({50, 60, 0, 1, 0, 1});
  EXPECT_EQ(mask->cachedBoundingBox(), hxroi::emptyBox<int>());
  EXPECT_FALSE(mask->cachedApproximatedBoundingBox());
}

TEST_F(MaskBounds, EmptyAsksForTheExactBox) {
  const auto mask = makeMask();
  EXPECT_TRUE(mask->empty());
  fill(*mask, {12, 12, 10, 10, 6, 6});
  EXPECT_FALSE(mask->empty());
  EXPECT_EQ(mask->cachedBoundingBox(), McBox3i(12, 12, 10, 10, 6, 6));
}

TEST_F(MaskBounds, PhysicalBoxIsMovedDownByHalfAVoxel) {
  const auto mask = makeMask({11, 11, 11}, McBox3i(0, 0, 0, 0, 0, 0));
  EXPECT_EQ(mask->getBoundingBox(McBox3f(0, 10, 0, 10, 0, 10)), McBox3f(-0.5F, -0.5F, -0.5F, -0.5F, -0.5F, -0.5F));
}

TEST_F(MaskBounds, PhysicalBoxScalesAndShifts) {
  const auto mask = makeMask({11, 11, 11}, McBox3i(2, 4, 1, 3, 0, 10));
  EXPECT_EQ(mask->getBoundingBox(McBox3f(100, 120, 0, 10, -5, 0)), McBox3f(103, 107, 0.5F, 2.5F, -5.25F, -0.25F));
}

TEST_F(MaskBounds, PhysicalBoxOfAnEmptyMaskIsEmpty) {
  EXPECT_EQ(makeMask()->getBoundingBox(McBox3f(0, 12, 0, 10, 0, 6)), hxroi::emptyBox<float>());
}

TEST_F(MaskBounds, PhysicalBoxOfAFlatGrid) {
  const auto mask = makeMask({11, 11, 1}, McBox3i(2, 4, 1, 3, 0, 0));
  const McBox3f box = mask->getBoundingBox(McBox3f(0, 10, 0, 10, 3, 3));
  EXPECT_EQ(box[4], 3.0F);
  EXPECT_EQ(box[5], 3.0F);
}
