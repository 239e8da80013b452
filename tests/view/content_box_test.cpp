#include "quarn/kernel/fields/HxUniformLabelField3.h"
#include "quarn/view/FieldSampler.h"
#include "tests/view/ViewTest.h"

using quarn::view::contentBox;
using quarn::view::IndexBox;
using quarn::view::Point3;

namespace {

McHandle<HxUniformScalarField3> fieldOf(const Shape& shape, double inside, double outside) {
  McHandle<HxUniformScalarField3> field(new HxUniformScalarField3({64, 64, 64}, McPrimType::Int16));
  for (int z = 0; z < 64; ++z)
    for (int y = 0; y < 64; ++y)
      for (int x = 0; x < 64; ++x) field->setValue(x, y, z, shape(x, y, z) ? inside : outside);
  return field;
}

void expectBox(const IndexBox& box, const Point3& low, const Point3& high) {
  for (std::size_t axis = 0; axis < 3; ++axis) {
    EXPECT_EQ(low[axis], box.low[axis]) << axis;
    EXPECT_EQ(high[axis], box.high[axis]) << axis;
  }
}

}  // namespace

TEST(ContentBox, IsWhereValuesStandOut) {
  const auto ct = fieldOf(block(10, 20, 30, 40, 0, 63), 40, -1000);
  expectBox(contentBox(*ct, {-1000, 200}), {9.5, 29.5, -0.5}, {20.5, 40.5, 63.5});
  const auto noise = fieldOf(block(1, 2, 3, 4, 5, 6), 9, 0);
  expectBox(contentBox(*noise, {0, 100}), {-0.5, -0.5, -0.5}, {63.5, 63.5, 63.5});
}

TEST(ContentBox, IsThatOfAllLabels) {
  const McHandle<HxUniformLabelField3> labels(new HxUniformLabelField3({8, 8, 8}));
  labels->setValue(2, 3, 4, 1);
  expectBox(contentBox(*labels, {0, 255}), {1.5, 2.5, 3.5}, {2.5, 3.5, 4.5});
}

TEST(ContentBox, OfLargeFieldsMissesAFewVoxelsAtMost) {
  const McHandle<HxUniformScalarField3> field(new HxUniformScalarField3({256, 128, 128}, McPrimType::Uint8));
  for (int x = 101; x < 140; ++x)
    for (int y = 33; y < 60; ++y)
      for (int z = 10; z < 50; ++z) field->setValue(x, y, z, 200);
  const IndexBox box = contentBox(*field, {0, 200});
  EXPECT_NEAR(100.5, box.low[0], 2);
  EXPECT_NEAR(139.5, box.high[0], 2);
  EXPECT_LE(box.low[1], 32.5);
  EXPECT_GE(box.high[2], 49.5);
}

TEST_F(ViewTest, CentresWhatAnImageHoldsAndCutsNothingOffBesideMasks) {
  const auto field = fieldOf(block(4, 20, 40, 60, 40, 60), 100, 0);
  HxObjectPool::instance().add(field, QStringLiteral("field"));
  masks->add(QStringLiteral("ball"), RED, ball(50, 50, 50, 4));
  view->show(masks);
  view->show(field);
  for (int axis = 0; axis < 3; ++axis) view->setSlice(axis, axis == 0 ? 12 : 50);
  const QImage picture = paint("space", 128);
  int left = 128, right = 0;
  for (int y = 0; y < 128; ++y)
    for (int x = 0; x < 128; ++x)
      if (qGray(picture.pixel(x, y)) > 20) left = std::min(left, x), right = std::max(right, x);
  EXPECT_GT(left, 2);
  EXPECT_LT(right, 125);
  EXPECT_NEAR(64, (left + right) / 2.0, 16);
}
