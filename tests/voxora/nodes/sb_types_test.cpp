#include <gtest/gtest.h>

#include "quarn/voxora/nodes/SbTypes.h"

namespace {

TEST(SbBox3i32, IsEmptyWhenMadeWithoutArguments) {
  const SbBox3i32 box;
  EXPECT_TRUE(box.isEmpty());
  EXPECT_EQ(box.getMin(), SbVec3i32(2147483647, 2147483647, 2147483647));
  EXPECT_EQ(box.getMax(), SbVec3i32(-2147483647 - 1, -2147483647 - 1, -2147483647 - 1));
  EXPECT_EQ(box.size(0), 0);
}

TEST(SbBox3i32, IsEmptyWhenOneAxisIs) {
  EXPECT_TRUE(SbBox3i32({0, 0, 0}, {5, -1, 5}).isEmpty());
  EXPECT_FALSE(SbBox3i32({0, 0, 0}, {0, 0, 0}).isEmpty());
}

TEST(SbBox3i32, SizeDoesNotOverflow) {
  const SbBox3i32 box({-2147483647, 0, 0}, {2147483647, 0, 0});
  EXPECT_EQ(box.size(0), 4294967295);
}

TEST(SbBox3i32, IntersectionAndExtension) {
  const SbBox3i32 a({0, 0, 0}, {5, 5, 5}), b({3, -2, 5}, {9, 2, 9}), apart({6, 0, 0}, {7, 5, 5});
  EXPECT_EQ(a.intersection(b), SbBox3i32({3, 0, 5}, {5, 2, 5}));
  EXPECT_EQ(a.intersection(apart), SbBox3i32());
  EXPECT_EQ(a.intersection(SbBox3i32()), SbBox3i32());
  SbBox3i32 grown;
  grown.extendBy(SbBox3i32());
  EXPECT_TRUE(grown.isEmpty());
  grown.extendBy(a);
  EXPECT_EQ(grown, a);
  grown.extendBy(b);
  EXPECT_EQ(grown, SbBox3i32({0, -2, 0}, {9, 5, 9}));
  EXPECT_TRUE(a.contains(SbBox3i32()));
  EXPECT_FALSE(a.contains(b));
  EXPECT_TRUE(grown.contains(b));
}

TEST(SbBox2i32, KeepsCornersAsGiven) {
  const SbBox2i32 box({7, 3}, {2, 9});
  EXPECT_EQ(box.getMin(), SbVec2i32(7, 3));
  EXPECT_EQ(box.getMax(), SbVec2i32(2, 9));
}

TEST(SbName, KeepsEveryText) {
  for (const char* text : {"", "1st", "a_b-c", "\xC3\xA4"}) EXPECT_STREQ(SbName(text).getString(), text);
  EXPECT_TRUE(SbName().isEmpty());
  EXPECT_TRUE(SbName(static_cast<const char*>(nullptr)).isEmpty());
  EXPECT_EQ(SbName("a"), SbName(std::string("a")));
}

}  // namespace
