#include "roitools/exchange/Slabs.h"

#include <gtest/gtest.h>
#include <vector>

namespace {

using roitools::Slabs;

/// Goes through a volume and checks that every row comes once, in the order of the file.
int pieces(std::int64_t rowBytes, std::int64_t rows, std::int64_t slices, std::int64_t mostBytes) {
  Slabs slabs(rowBytes, rows, slices, mostBytes);
  std::int64_t next = 0;
  int count = 0;
  while (const Slabs::Slab slab = slabs.next()) {
    EXPECT_EQ(slab.z * rows + slab.y, next);
    EXPECT_EQ(slab.bytes, slab.rows * slab.slices * rowBytes);
    EXPECT_TRUE(slab.bytes <= mostBytes || slab.rows * slab.slices == 1);
    EXPECT_TRUE(slab.slices == 1 || slab.rows == rows);
    next += slab.rows * slab.slices;
    ++count;
  }
  EXPECT_EQ(next, rows * slices);
  EXPECT_FALSE(slabs.next());
  return count;
}

TEST(Slabs, CoverAVolumeInWholeSlicesOrRows) {
  EXPECT_EQ(pieces(10, 5, 7, 1000), 1);
  EXPECT_EQ(pieces(10, 5, 7, 350), 1);
  EXPECT_EQ(pieces(10, 5, 7, 149), 4);
  EXPECT_EQ(pieces(10, 5, 7, 50), 7);
  EXPECT_EQ(pieces(10, 5, 7, 49), 14);
  EXPECT_EQ(pieces(10, 5, 7, 1), 35);
  EXPECT_EQ(pieces(1, 1, 1, 1), 1);
}

}  // namespace
