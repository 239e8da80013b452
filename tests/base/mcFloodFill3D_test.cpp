#include "quarn/base/mcFloodFill3D.h"

#include <array>
#include <gtest/gtest.h>
#include <queue>
#include <vector>

#include "quarn/base/McBitfield.h"
#include "quarn/base/McBox3i.h"
#include "tests/base/RandomBits.h"

namespace {

/// The bits of a volume, asked and told as a fill does.
struct Volume {
  explicit Volume(const McVec3i& dimensions)
      : n(dimensions), bits(static_cast<std::uint64_t>(n.x) * static_cast<std::uint64_t>(n.y * n.z)) {}

  std::uint64_t indexOf(int x, int y, int z) const { return static_cast<std::uint64_t>((z * n.y + y) * n.x + x); }
  bool operator()(int x, int y, int z) const {
    EXPECT_TRUE(McBox3i(McVec3i(), n - McVec3i(1, 1, 1)).contains(McVec3i(x, y, z)));
    return bits.get(indexOf(x, y, z));
  }
  void set(const McVec3i& v) { bits.set(indexOf(v.x, v.y, v.z)); }

  McVec3i n;
  McBitfield bits;
};

struct Visits : Volume {
  using Volume::Volume;

  bool isVisited(int x, int y, int z) const { return (*this)(x, y, z); }
  void visitRun(int first, int last, int y, int z) {
    ASSERT_LE(first, last);
    for (int x = first; x <= last; ++x) {
      ASSERT_FALSE(isVisited(x, y, z)) << "a voxel was reached twice";
      set({x, y, z});
    }
  }
};

/// The voxels connected with the seed, one after the other.
Volume reachedOneByOne(const Volume& open, const McVec3i& seed) {
  Volume reached(open.n);
  std::queue<McVec3i> queue;
  const auto enter = [&](const McVec3i& v) {
    const bool isIn = v.x >= 0 && v.x < open.n.x && v.y >= 0 && v.y < open.n.y && v.z >= 0 && v.z < open.n.z;
    if (!isIn || !open(v.x, v.y, v.z) || reached(v.x, v.y, v.z)) return;
    reached.set(v);
    queue.push(v);
  };
  for (enter(seed); !queue.empty(); queue.pop()) {
    const McVec3i v = queue.front();
    for (const McVec3i& step : {McVec3i(1, 0, 0), McVec3i(0, 1, 0), McVec3i(0, 0, 1)}) {
      enter(v + step);
      enter(v - step);
    }
  }
  return reached;
}

std::uint64_t count(const Volume& volume) {
  std::uint64_t sum = 0;
  for (std::uint64_t i = 0; i < volume.bits.size(); ++i) sum += volume.bits.get(i) ? 1 : 0;
  return sum;
}

TEST(McFloodFill3D, ReachesWhatIsConnectedThroughFaces) {
  auto random = seededRandom();
  for (const McVec3i& n :
       {McVec3i(1, 1, 1), McVec3i(9, 1, 1), McVec3i(1, 9, 1), McVec3i(1, 1, 9), McVec3i(17, 12, 9)}) {
    for (int round = 0; round < 60; ++round) {
      Volume open(n);
      open.bits = randomBits(open.bits.size(), 0.2 + 0.1 * (round % 7), random);
      const McVec3i seed(static_cast<int>(random() % static_cast<unsigned>(n.x)),
                         static_cast<int>(random() % static_cast<unsigned>(n.y)),
                         static_cast<int>(random() % static_cast<unsigned>(n.z)));
      Visits visits(n);
      const std::uint64_t reached = mcFloodFill3D(n, seed, visits, open);
      const Volume expected = reachedOneByOne(open, seed);
      ASSERT_EQ(visits.bits, expected.bits);
      ASSERT_EQ(reached, count(expected));
    }
  }
}

TEST(McFloodFill3D, EdgesAndCornersDoNotConnect) {
  const McVec3i n(4, 4, 4);
  for (const McVec3i& other : {McVec3i(2, 2, 1), McVec3i(2, 1, 2), McVec3i(1, 2, 2), McVec3i(2, 2, 2)}) {
    Volume open(n);
    open.set({1, 1, 1});
    open.set(other);
    Visits visits(n);
    EXPECT_EQ(mcFloodFill3D(n, {1, 1, 1}, visits, open), 1U);
  }
  for (const McVec3i& other : {McVec3i(2, 1, 1), McVec3i(1, 2, 1), McVec3i(1, 1, 2)}) {
    Volume open(n);
    open.set({1, 1, 1});
    open.set(other);
    Visits visits(n);
    EXPECT_EQ(mcFloodFill3D(n, {1, 1, 1}, visits, open), 2U);
  }
}

TEST(McFloodFill3D, NothingIsReachedFromASeedThatIsNotAdmitted) {
  const McVec3i n(4, 4, 4);
  Volume open(n);
  open.set({0, 0, 0});
  Visits visits(n);
  for (const McVec3i& seed : {McVec3i(1, 0, 0), McVec3i(-1, 0, 0), McVec3i(4, 0, 0), McVec3i(0, -1, 0),
                              McVec3i(0, 4, 0), McVec3i(0, 0, -1), McVec3i(0, 0, 4)}) {
    EXPECT_EQ(mcFloodFill3D(n, seed, visits, open), 0U);
  }
  EXPECT_EQ(mcFloodFill3D(n, {0, 0, 0}, visits, open), 1U);
  EXPECT_EQ(mcFloodFill3D(n, {0, 0, 0}, visits, open), 0U) << "it was visited before";
}

TEST(McFloodFill3D, LongWindingPathsNeedNoDeepStack) {
  // A path that goes to and fro through every second row, so that each row is entered from the one before.
  const McVec3i n(64, 4001, 1);
  Volume open(n);
  std::uint64_t length = 0;
  for (int y = 0; y < n.y; ++y) {
    const bool isLink = y % 2 != 0;
    const int link = (y / 2) % 2 != 0 ? 0 : n.x - 1;
    for (int x = isLink ? link : 0; x <= (isLink ? link : n.x - 1); ++x, ++length) open.set({x, y, 0});
  }
  Visits visits(n);
  EXPECT_EQ(mcFloodFill3D(n, {0, 0, 0}, visits, open), length);
}

}  // namespace
