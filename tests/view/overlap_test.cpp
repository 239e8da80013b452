#include "quarn/view/Overlap.h"

#include <gtest/gtest.h>

#include "tests/view/TestMasks.h"

namespace {

using namespace quarn::view;

const SbVec3i32 grid(80, 40, 40);

BoxedMask boxed(const MaskNode& node) {
  const hxvoxora::TileSnapshot content = node->snapshot();
  return {content, content.computeBoundingBox(content.grid().box())};
}

TEST(Overlap, HoldsExactlyTheVoxelsOfAtLeastTwo) {
  const std::vector<Shape> shapes{ball(25, 20, 20, 15), ball(40, 20, 20, 15), block(30, 75, 5, 20, 0, 39)};
  std::vector<MaskNode> nodes;
  std::vector<BoxedMask> masks;
  for (const Shape& shape : shapes) {
    nodes.push_back(newNode(grid, shape));
    masks.push_back(boxed(nodes.back()));
  }
  const Overlap overlap = findOverlap(masks);
  ASSERT_TRUE(overlap.shared);
  const SbBox3i32& box = overlap.shared->box();
  for (int z = 0; z < grid[2]; ++z)
    for (int y = 0; y < grid[1]; ++y)
      for (int x = 0; x < grid[0]; ++x) {
        const int count = shapes[0](x, y, z) + shapes[1](x, y, z) + shapes[2](x, y, z);
        const bool isInBox = box.contains({{x, y, z}, {x, y, z}});
        ASSERT_EQ(count > 1, isInBox && overlap.shared->test(x, y, z)) << x << ' ' << y << ' ' << z;
      }
}

TEST(Overlap, TellsWhoTakesPart) {
  const std::vector<MaskNode> nodes{newNode(grid, block(0, 20, 0, 20, 0, 20)),
                                    newNode(grid, block(10, 30, 0, 20, 0, 20)),
                                    newNode(grid, block(50, 60, 0, 20, 0, 20))};
  const Overlap overlap = findOverlap({boxed(nodes[0]), boxed(nodes[1]), boxed(nodes[2])});
  EXPECT_EQ((std::vector<bool>{true, true, false}), overlap.takesPart);
}

TEST(Overlap, IsEmptyWhenOnlyBoxesMeet) {
  const std::vector<MaskNode> nodes{newNode(grid, [](int x, int y, int z) { return (x + y + z) % 2 == 0; }),
                                    newNode(grid, [](int x, int y, int z) { return (x + y + z) % 2 == 1; })};
  const Overlap overlap = findOverlap({boxed(nodes[0]), boxed(nodes[1])});
  EXPECT_FALSE(overlap.shared);
  EXPECT_EQ((std::vector<bool>{false, false}), overlap.takesPart);
}

TEST(Overlap, OfEmptyMasksIsEmpty) {
  const MaskNode node = newNode(grid, [](int, int, int) { return false; });
  EXPECT_FALSE(findOverlap({boxed(node), boxed(node)}).shared);
  EXPECT_FALSE(findOverlap({}).shared);
}

}  // namespace
