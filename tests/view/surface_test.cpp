#include "quarn/view/Surface.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <map>

#include "tests/view/TestMasks.h"

namespace {

using namespace quarn::view;

const SbVec3i32 grid(70, 40, 50);

SurfaceHandle surfaceOf(const Shape& shape, const HxGeometry3& geometry = {}, int level = 0) {
  const MaskNode node = newNode(grid, shape);
  const hxvoxora::TileSnapshot content = node->snapshot(level);
  const SbBox3i32 box = content.computeBoundingBox(content.grid().box());
  return makeSurface(MaskBits(content, box), level, LatticeMap(geometry));
}

double volumeOf(const Surface& surface) {
  double sum = 0;
  for (std::size_t t = 0; t < surface.triangles.size(); t += 3) {
    double p[3][3];
    for (int corner = 0; corner < 3; ++corner)
      for (int axis = 0; axis < 3; ++axis)
        p[corner][axis] = double{surface.points[3 * surface.triangles[t + static_cast<std::size_t>(corner)] +
                                                static_cast<std::size_t>(axis)]};
    sum += p[0][0] * (p[1][1] * p[2][2] - p[1][2] * p[2][1]) + p[0][1] * (p[1][2] * p[2][0] - p[1][0] * p[2][2]) +
           p[0][2] * (p[1][0] * p[2][1] - p[1][1] * p[2][0]);
  }
  return sum / 6;
}

/// Every edge is walked as often in one direction as in the other.
bool isClosed(const Surface& surface) {
  std::map<std::pair<std::uint32_t, std::uint32_t>, int> walks;
  for (std::size_t t = 0; t < surface.triangles.size(); t += 3)
    for (std::size_t i = 0; i < 3; ++i) {
      const std::uint32_t a = surface.triangles[t + i], b = surface.triangles[t + (i + 1) % 3];
      a < b ? ++walks[{a, b}] : --walks[{b, a}];
    }
  return std::all_of(walks.begin(), walks.end(), [](const auto& walk) { return walk.second == 0; });
}

TEST(Surface, OfABallIsABall) {
  const SurfaceHandle surface = surfaceOf(ball(30, 20, 25, 12));
  ASSERT_GT(surface->triangleCount(), 2000u);
  EXPECT_TRUE(isClosed(*surface));
  for (std::size_t i = 0; i < surface->points.size(); i += 3) {
    const double d[3] = {double{surface->points[i]} - 30, double{surface->points[i + 1]} - 20,
                         double{surface->points[i + 2]} - 25};
    const double distance = std::hypot(d[0], d[1], d[2]);
    EXPECT_NEAR(12, distance, 1);
    const double outwards = (double{surface->normals[i]} * d[0] + double{surface->normals[i + 1]} * d[1] +
                             double{surface->normals[i + 2]} * d[2]) /
                            distance;
    EXPECT_GT(outwards, 0.85);
  }
  EXPECT_NEAR(4.0 / 3 * M_PI * 12 * 12 * 12, volumeOf(*surface), 400);
}

TEST(Surface, OfASingleVoxelIsClosedAndAroundIt) {
  const SurfaceHandle surface = surfaceOf(block(7, 7, 8, 8, 9, 9));
  EXPECT_EQ(8u, surface->pointCount());
  EXPECT_EQ(12u, surface->triangleCount());
  EXPECT_TRUE(isClosed(*surface));
  EXPECT_NEAR(1, volumeOf(*surface), 0.01);
}

TEST(Surface, GoesAroundVoxelsAtTheEndsOfTheVolume) {
  const SurfaceHandle surface = surfaceOf(block(0, 69, 0, 39, 0, 49));
  EXPECT_TRUE(isClosed(*surface));
  EXPECT_NEAR(70.0 * 40 * 50, volumeOf(*surface), 70 * 40 * 50 * 0.03);
}

TEST(Surface, OfTouchingAndSplitPiecesIsClosed) {
  EXPECT_TRUE(isClosed(*surfaceOf([](int x, int y, int z) { return x < 60 && (x + y + z) % 2 == 0; })));
}

TEST(Surface, LiesWhereTheLatticeLies) {
  HxGeometry3 geometry;
  geometry.origin = {100, -50, 7};
  geometry.voxelSize = {0.5, 2, 3};
  geometry.direction = {0, -1, 0, 1, 0, 0, 0, 0, 1};
  const SurfaceHandle surface = surfaceOf(ball(30, 20, 25, 10), geometry);
  const Point3 centre = LatticeMap(geometry).toWorld({30, 20, 25});
  Point3 sum{};
  for (std::size_t i = 0; i < surface->points.size(); ++i) sum[i % 3] += double{surface->points[i]};
  for (std::size_t i = 0; i < 3; ++i) EXPECT_NEAR(centre[i], sum[i] / static_cast<double>(surface->pointCount()), 0.05);
  EXPECT_NEAR(4.0 / 3 * M_PI * 1000 * 3, volumeOf(*surface), 4.0 / 3 * M_PI * 1000 * 3 * 0.05);
}

TEST(Surface, OfAMirroredLatticeIsNotInsideOut) {
  HxGeometry3 geometry;
  geometry.direction = {-1, 0, 0, 0, 1, 0, 0, 0, 1};
  EXPECT_GT(volumeOf(*surfaceOf(ball(30, 20, 25, 10), geometry)), 0);
}

TEST(Surface, OfACoarseLevelLiesWhereTheFineOneDoes) {
  const SurfaceHandle surface = surfaceOf(ball(32, 20, 25, 15), {}, 1);
  for (std::size_t i = 0; i < surface->points.size(); i += 3)
    EXPECT_NEAR(15.5,
                std::hypot(double{surface->points[i]} - 32, double{surface->points[i + 1]} - 20,
                           double{surface->points[i + 2]} - 25),
                2);
}

TEST(Surface, IsGivenUpWhenNobodyWantsIt) {
  const MaskNode node = newNode(grid, ball(30, 20, 25, 12));
  const MaskBits bits(node->snapshot(), node->snapshot().computeBoundingBox(node->snapshot().grid().box()));
  EXPECT_EQ(nullptr, makeSurface(bits, 0, LatticeMap({}), [] { return true; }));
}

}  // namespace
