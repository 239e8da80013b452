#include <limits>

#include "quarn/base/mcinterface_cast.h"
#include "quarn/kernel/fields/HxStandardColormaps.h"
#include "quarn/kernel/fields/HxUniformScalarField3.h"
#include "quarn/kernel/objects/HxInterfaceFactoryRegistry.h"
#include "tests/view/ViewTest.h"

namespace {

class SlicePaneTest : public ViewTest {
protected:
  /// A field on the grid of the masks whose value is `value(x, y, z)`; the masks lie over it.
  McHandle<HxUniformScalarField3> addField(const std::function<double(int, int, int)>& value) {
    const McHandle<HxUniformScalarField3> field(new HxUniformScalarField3(McDim3l(64, 64, 64), McPrimType::Float));
    for (int z = 0; z < 64; ++z)
      for (int y = 0; y < 64; ++y)
        for (int x = 0; x < 64; ++x) field->setValue(x, y, z, value(x, y, z));
    HxObjectPool::instance().add(field, QStringLiteral("field"));
    masks->reference = mcinterface_cast<HxISetOfVolumeData>(field.get());
    return field;
  }
};

TEST_F(SlicePaneTest, TintsAMaskInItsColourWhereItIs) {
  masks->add("a", GREEN, block(40, 60, 5, 20, 30, 34));
  view->show(masks);
  view->setSlice(2, 32);
  const QImage picture = paint("z", 200);
  // High x is the patient's left, on the right hand; low y is the front, at the top.
  const auto [x, y] = middleOf(picture, GREEN);
  EXPECT_NEAR(0.5 + (50.5 - 32) / 64 * 0.94, x, 0.01);
  EXPECT_NEAR(0.5 + (13 - 32) / 64.0 * 0.94, y, 0.01);
  const double pixels = 21 * 16 * (200 * 0.94 / 64) * (200 * 0.94 / 64);
  EXPECT_NEAR(pixels, countLike(picture, GREEN), pixels * 0.06);
  view->setSlice(2, 35);
  EXPECT_EQ(0, countLike(paint("z", 200), GREEN));
}

TEST_F(SlicePaneTest, DrawsOutlinesBrighterThanTheInside) {
  masks->add("a", RED, block(10, 50, 10, 50, 10, 50));
  view->show(masks);
  const QImage picture = paint("z", 256);
  const int inside = qRed(picture.pixel(118, 118));
  int highest = 0;
  for (int x = 0; x < 256; ++x) highest = std::max(highest, qRed(picture.pixel(x, 118)));
  EXPECT_NEAR(128, inside, 3);
  EXPECT_GT(highest, 235);
}

TEST_F(SlicePaneTest, GivesWhatIsSharedTheColourOfTheSet) {
  masks->add("a", RED, block(10, 40, 10, 40, 0, 63));
  masks->add("b", GREEN, block(30, 60, 30, 60, 0, 63));
  masks->overlapColor = BLUE;
  masks->overlapStyle = HxISetOfVolumeMask::DRAW_VOLUME;
  view->show(masks);
  const QImage filled = paint("z", 256);
  EXPECT_GT(qBlue(filled.pixel(139, 139)), 150);
  masks->overlapStyle = HxISetOfVolumeMask::DRAW_BOUNDARY;
  const QImage outlined = paint("z", 256);
  EXPECT_LT(qBlue(outlined.pixel(139, 139)), 10);
  const int blue = countLike(outlined, BLUE);
  EXPECT_GT(blue, 4 * 11 * 3);
  EXPECT_LT(blue, 4 * 12 * 4 * 2);
}

TEST_F(SlicePaneTest, DrawsNothingSpecialForASetWithoutAStyle) {
  masks->add("a", RED, block(10, 40, 10, 40, 0, 63));
  masks->add("b", GREEN, block(30, 60, 30, 60, 0, 63));
  masks->overlapColor = BLUE;
  view->show(masks);
  EXPECT_EQ(0, countLike(paint("z", 256), BLUE));
}

TEST_F(SlicePaneTest, ShowsTheValuesOfTheImageThroughTheColormapOfAMask) {
  addField([](int x, int, int) { return x < 32 ? 0 : 100; });
  TestMasks::Mask& mask = masks->add("a", RED, block(10, 53, 10, 53, 0, 63));
  mask.colormap = new HxColormap;
  mask.colormap->setEntries({{McColor(0, 1, 0), 1}, {McColor(0, 0, 1), 1}});
  mask.range = {0, 100};
  view->show(masks);
  const QImage picture = paint("z", 256);
  EXPECT_GT(qGreen(picture.pixel(100, 128)), 180);
  EXPECT_GT(qBlue(picture.pixel(156, 128)), 180);
}

TEST_F(SlicePaneTest, ShowsAnImageThroughAColormap) {
  const McHandle<HxUniformScalarField3> field = addField([](int x, int y, int) { return x + y; });
  view->show(field);
  view->setColormap(field, nullptr, {{0, 126}});
  const QImage picture = paint("z", 256);
  // The front, right corner is at the top on the left hand.
  EXPECT_LT(qGray(picture.pixel(12, 12)), 12);
  EXPECT_GT(qGray(picture.pixel(243, 243)), 243);
  EXPECT_NEAR(127, qGray(picture.pixel(128, 128)), 4);
}

TEST_F(SlicePaneTest, SurvivesValuesAndColoursThatAreNoNumbers) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const McHandle<HxUniformScalarField3> field = addField([&](int x, int, int) { return x < 32 ? nan : 1 / 0.0; });
  TestMasks::Mask& mask = masks->add("a", McColor(NAN, 2, -1), ball(32, 32, 32, 20));
  mask.colormap = HxStandardColormaps::instance().find("viridis");
  mask.range = {nan, nan};
  view->show(field);
  view->show(masks);
  EXPECT_EQ(QSize(128, 128), paint("four").size());
}

TEST_F(SlicePaneTest, DrawsMasksOfAnotherGridThanTheImageInTheirPlace) {
  masks->add("a", GREEN, block(0, 15, 0, 63, 0, 63));
  HxGeometry3 moved;
  moved.origin = {-32, 0, 0};
  const McHandle<HxUniformScalarField3> field = addField([](int, int, int) { return 0; });
  const McHandle<HxUniformScalarField3> other(new HxUniformScalarField3(McDim3l(64, 64, 64), McPrimType::Uint8));
  other->setGeometry(moved);
  HxObjectPool::instance().add(other, QStringLiteral("other"));
  view->show(other);
  view->show(masks);
  // Voxel 0 of the masks lies on voxel 32 of the image.
  const auto [x, y] = middleOf(paint("z", 200), GREEN);
  EXPECT_NEAR(0.5 + (40 - 32) / 64.0 * 0.94, x, 0.01);
}

TEST_F(SlicePaneTest, LinesOfTheOtherSlicesAreSeenOnBlackAndOnWhite) {
  const McHandle<HxUniformScalarField3> field = addField([](int, int y, int) { return y < 32 ? 0 : 100; });
  view->show(field);
  view->setColormap(field, nullptr, {{0, 100}});
  view->setSlice(0, 16);
  view->setMarks(false);
  const QImage plain = paint("z", 256);
  view->setMarks(true);
  const QImage marked = paint("z", 256);
  // Rows in the dark and in the bright half, off the letters and off the line across them.
  for (const int y : {80, 176}) {
    int most = 0;
    for (int x = 40; x < 100; ++x)
      most = std::max(most, std::abs(qGray(marked.pixel(x, y)) - qGray(plain.pixel(x, y))));
    EXPECT_GT(most, 40) << "row " << y;
  }
}

}  // namespace
