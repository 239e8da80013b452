#include <gtest/gtest.h>

#include "quarn/view/SceneCamera.h"
#include "quarn/view/SceneLayout.h"
#include "quarn/view/SlicePlane.h"

namespace {

using namespace quarn::view;

void expectNear(const Point3& expected, const Point3& actual, double tolerance = 1e-9) {
  for (std::size_t i = 0; i < 3; ++i) EXPECT_NEAR(expected[i], actual[i], tolerance) << i;
}

TEST(SceneCamera, LooksFromTheSidesOfAPatient) {
  SceneCamera camera;
  ASSERT_TRUE(camera.look("left"));
  expectNear({1, 0, 0}, camera.direction());
  ASSERT_TRUE(camera.look("top"));
  expectNear({0, 0, 1}, camera.direction());
  EXPECT_FALSE(camera.look("Left"));
  expectNear({0, 0, 1}, camera.direction());
}

TEST(SceneCamera, GoesAroundToItsRightAndUp) {
  SceneCamera camera;
  camera.azimuth(90);
  // From the front, the right hand side of the picture is the patient's left.
  expectNear({1, 0, 0}, camera.direction());
  camera.elevation(90);
  expectNear({0, 0, 1}, camera.direction());
  expectNear({-1, 0, 0}, camera.up());
  for (int i = 0; i < 4; ++i) camera.elevation(90);
  expectNear({0, 0, 1}, camera.direction());
}

TEST(SceneCamera, ComesBackFromItsState) {
  SceneCamera camera, other;
  camera.azimuth(33);
  camera.elevation(-12);
  camera.zoomBy(1.7);
  ASSERT_TRUE(other.setState(camera.state().split(' ')));
  expectNear(camera.direction(), other.direction(), 1e-12);
  expectNear(camera.up(), other.up(), 1e-12);
  EXPECT_EQ(camera.zoom(), other.zoom());
}

TEST(SceneCamera, RefusesWhatIsNoState) {
  SceneCamera camera;
  const QString before = camera.state();
  for (const char* text : {"", "1 2 3", "0 0 0 0 0 1 1", "0 0 1 0 0 1 1", "0 -1 0 0 0 1 0", "0 -1 0 0 0 1 nan",
                           "0 -1 0 0 0 one 1", "0 -1 0 0 0 1 1 1"})
    EXPECT_FALSE(camera.setState(QString(text).split(' ', Qt::SkipEmptyParts))) << text;
  EXPECT_EQ(before, camera.state());
}

TEST(SceneLayout, CoversThePictureAndNeverOverlaps) {
  for (const QString& name : layoutNames()) {
    for (const auto& [width, height] :
         {std::pair(1, 1), std::pair(2, 1), std::pair(3, 3), std::pair(641, 479), std::pair(8192, 5)}) {
      const std::vector<PlacedPane> panes = placePanes(name, width, height);
      ASSERT_FALSE(panes.empty()) << name.toStdString();
      for (std::size_t i = 0; i < panes.size(); ++i) {
        EXPECT_FALSE(panes[i].place.isEmpty());
        EXPECT_TRUE(QRect(0, 0, width, height).contains(panes[i].place));
        for (std::size_t j = 0; j < i; ++j) EXPECT_FALSE(panes[i].place.intersects(panes[j].place));
      }
    }
  }
  EXPECT_EQ(4u, placePanes("four", 640, 480).size());
  EXPECT_EQ(4u, placePanes("column", 640, 480).size());
}

TEST(SlicePlane, PutsThePatientsLeftOnTheRightHand) {
  const McDim3l n(20, 30, 40);
  for (const double sign : {1.0, -1.0}) {
    HxGeometry3 geometry;
    geometry.direction = {sign, 0, 0, 0, -sign, 0, 0, 0, sign};
    for (const int axis : {1, 2}) {
      const SlicePlane plane = SlicePlane::across(n, geometry, axis, 5, 100, 100);
      EXPECT_EQ("L", SlicePlane::sideOf(plane.right).toStdString()) << axis << sign;
      EXPECT_EQ(axis == 2 ? "P" : "I", SlicePlane::sideOf(plane.down).toStdString());
    }
    const SlicePlane side = SlicePlane::across(n, geometry, 0, 5, 100, 100);
    EXPECT_EQ("P", SlicePlane::sideOf(side.right).toStdString());
    EXPECT_EQ("I", SlicePlane::sideOf(side.down).toStdString());
  }
}

TEST(SlicePlane, FollowsExchangedAxes) {
  HxGeometry3 geometry;
  // The first lattice axis goes up, the second to the front, the third to the right.
  geometry.direction = {0, 0, -1, 0, -1, 0, 1, 0, 0};
  geometry.voxelSize = {2, 1, 1};
  const SlicePlane plane = SlicePlane::across({20, 30, 40}, geometry, 0, 7, 300, 200);
  EXPECT_EQ("L", SlicePlane::sideOf(plane.right).toStdString());
  EXPECT_EQ("P", SlicePlane::sideOf(plane.down).toStdString());
  EXPECT_NEAR(14, plane.at(10, 20)[2], 1e-9);
  expectNear(LatticeMap(geometry).toWorld({7, 14.5, 19.5}), plane.at(149.5, 99.5), 1e-9);
}

}  // namespace
