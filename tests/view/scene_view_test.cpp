#include <map>

#include "quarn/kernel/fields/HxUniformLabelField3.h"
#include "quarn/kernel/fields/HxUniformScalarField3.h"
#include "quarn/view/SceneCamera.h"
#include "quarn/view/ScenePainter.h"
#include "quarn/view/SurfaceCache.h"
#include "tests/support/RecordingProgress.h"
#include "tests/view/ViewTest.h"

namespace {

TEST_F(ViewTest, DrawsABallInItsColour) {
  masks->add("a", GREEN, ball(32, 32, 32, 20));
  view->show(masks);
  const QImage picture = paint("space", 200);
  const auto [x, y] = middleOf(picture, GREEN);
  EXPECT_NEAR(0.5, x, 0.02);
  EXPECT_NEAR(0.5, y, 0.02);
  // A disk, as wide as it is high.
  const int pixels = countLike(picture, GREEN);
  EXPECT_GT(pixels, 200 * 200 / 8);
  EXPECT_LT(pixels, 200 * 200 / 2);
}

TEST_F(ViewTest, HasThePatientsLeftOnTheRightHandFromTheFront) {
  masks->add("left", RED, ball(54, 32, 32, 6));
  masks->add("right", GREEN, ball(10, 32, 32, 6));
  masks->add("top", BLUE, ball(32, 32, 54, 6));
  view->show(masks);
  const QImage front = paint("space", 200);
  EXPECT_GT(middleOf(front, RED).first, 0.6);
  EXPECT_LT(middleOf(front, GREEN).first, 0.4);
  EXPECT_LT(middleOf(front, BLUE).second, 0.4);
  view->camera().look("back");
  EXPECT_LT(middleOf(paint("space", 200), RED).first, 0.4);
}

TEST_F(ViewTest, DrawsMasksWithoutAVolumeWhereTheirSetSaysThatTheyLie) {
  masks->add("a", RED, ball(54, 32, 32, 6));
  masks->add("b", GREEN, ball(10, 32, 32, 6));
  view->show(masks);
  for (const char* layout : {"space", "z"}) {
    masks->place.reset();
    EXPECT_GT(middleOf(paint(layout, 200), RED).first, 0.6) << layout;
    masks->place = HxGeometry3{{100, 0, 0}, {1, 1, 1}, {-1, 0, 0, 0, 1, 0, 0, 0, 1}};
    view->fitCamera();
    EXPECT_LT(middleOf(paint(layout, 200), RED).first, 0.4) << layout;
    EXPECT_GT(middleOf(paint(layout, 200), GREEN).first, 0.6) << layout;
    view->fitCamera();
  }
}

TEST_F(ViewTest, ShowsTheFrontOfSurfacesInMirroredLatticesToo) {
  masks->add("ball", RED, ball(32, 32, 32, 20));
  masks->add("kernel", BLUE, ball(32, 32, 32, 8));
  view->show(masks);
  for (const double x : {1.0, -1.0}) {
    masks->place = HxGeometry3{{0, 0, 0}, {1, 1, 1}, {x, 0, 0, 0, 1, 0, 0, 0, 1}};
    masks->touch();
    view->fitCamera();
    const QImage picture = paint("space", 200);
    EXPECT_GT(countLike(picture, RED), 1000) << x;
    EXPECT_EQ(0, countLike(picture, BLUE)) << x;
  }
}

TEST_F(ViewTest, LettersCanBeReadOverBrightTissue) {
  const McHandle<HxUniformScalarField3> field(new HxUniformScalarField3(McDim3l(64, 64, 64), McPrimType::Uint8));
  for (int z = 0; z < 64; ++z)
    for (int y = 0; y < 64; ++y)
      for (int x = 4; x < 64; ++x) field->setValue(x, y, z, 200);
  HxObjectPool::instance().add(field, QStringLiteral("field"));
  view->show(field);
  view->setMarks(true);
  const QImage picture = paint("z", 240);
  // The letter at the bottom lies over the image.
  int darkest = 255;
  for (int y = 222; y < 232; ++y)
    for (int x = 112; x < 128; ++x) darkest = std::min(darkest, qGray(picture.pixel(x, y)));
  EXPECT_LT(darkest, 60);
}

class LabelView : public ViewTest {
protected:
  /// Labels 1, without a colour, and 2, green, in the halves of a box in the middle.
  LabelView() {
    for (int z = 16; z < 48; ++z)
      for (int y = 16; y < 48; ++y)
        for (int x = 16; x < 48; ++x) labels->setValue(x, y, z, x < 32 ? 1 : 2);
    for (const char* name : {"Exterior", "Plain", "Green"}) labels->materials()->getBundle(name, true);
    labels->materials()->getBundle("Green", true)->setMaterialColor(McColor(0, 1, 0));
    HxObjectPool::instance().add(labels, QStringLiteral("labels"));
    for (int i = 0; i < 64 * 64 * 64; ++i) image->setValue(i % 64, i / 64 % 64, i / 4096, 200);
    HxObjectPool::instance().add(image, QStringLiteral("image"));
  }

  const McHandle<HxUniformLabelField3> labels{new HxUniformLabelField3(McDim3l(64, 64, 64))};
  const McHandle<HxUniformScalarField3> image{new HxUniformScalarField3(McDim3l(64, 64, 64), McPrimType::Uint8)};
};

TEST_F(LabelView, LabelsHaveTheColoursOfTheirMaterials) {
  view->show(labels);
  const QImage picture = paint("z", 128);
  std::map<QRgb, int> pixels;
  for (int y = 0; y < 128; ++y)
    for (int x = 0; x < 128; ++x) ++pixels[picture.pixel(x, y)];
  ASSERT_EQ(3U, pixels.size()) << "there is nothing between two labels";
  EXPECT_GT(pixels[qRgb(0, 255, 0)], 1000);
  EXPECT_EQ(128 * 128, pixels[qRgb(0, 0, 0)] + 2 * pixels[qRgb(0, 255, 0)]);
}

/// Their materials have gaps and none is of the background.
TEST_F(LabelView, LabelsOfMasksHaveTheColoursOfTheirIds) {
  labels->materials()->removeAll();
  HxParamBundle* const green = labels->materials()->getBundle("Green", true);
  green->set("Id", 2);
  green->setMaterialColor(McColor(0, 1, 0));
  view->show(labels);
  const QImage picture = paint("z", 128);
  EXPECT_EQ(picture.pixel(70, 64), qRgb(0, 255, 0));
  EXPECT_NE(picture.pixel(58, 64), qRgb(0, 255, 0));
}

TEST_F(LabelView, LabelsTintTheImageBelowAndLeaveTheRest) {
  view->show(image);
  const QRgb bare = paint("z", 128).pixel(50, 64), edge = paint("z", 128).pixel(20, 20);
  view->show(labels);
  const QImage picture = paint("z", 128);
  EXPECT_NE(bare, picture.pixel(50, 64));
  EXPECT_EQ(edge, picture.pixel(20, 20));
  EXPECT_GT(qGray(picture.pixel(50, 64)), 60) << "the image is seen through";
}

TEST_F(LabelView, LabelsStandInSpaceBetweenSlicesOfTheImage) {
  view->show(labels);
  const QColor alone(paint("space", 128).pixel(64, 64));
  EXPECT_GT(alone.saturation(), 60);
  view->show(image);
  EXPECT_GT(QColor(paint("space", 128).pixel(64, 64)).saturation(), 60) << "no cloud hides them";
}

TEST_F(ViewTest, LeavesNoTraceOfHiddenMasks) {
  masks->add("a", RED, ball(20, 32, 32, 14));
  view->show(masks);
  paint("four");
  view->fitCamera();
  const QImage alone = paint("four");
  masks->add("b", GREEN, ball(40, 32, 32, 14));
  masks->add("c", BLUE, ball(40, 20, 32, 14));
  masks->named("b").isVisible = false;
  masks->named("c").isVisible = false;
  EXPECT_EQ(0, largestDifference(alone, paint("four")));
  masks->named("b").isVisible = true;
  EXPECT_GT(countLike(paint("four"), GREEN), 100);
  masks->named("b").isVisible = false;
  EXPECT_EQ(0, largestDifference(alone, paint("four")));
}

TEST_F(ViewTest, DrawsTheSameWhateverTheOrderOfTheMasks) {
  masks->add("a", RED, ball(24, 32, 32, 16));
  masks->add("b", GREEN, ball(40, 32, 32, 16));
  masks->add("c", YELLOW, block(16, 40, 16, 48, 30, 40));
  masks->overlapColor = BLUE;
  view->show(masks);
  for (const auto style : {HxISetOfVolumeMask::DRAW_BOUNDARY, HxISetOfVolumeMask::DRAW_VOLUME}) {
    masks->overlapStyle = style;
    const QImage before = paint("four", 256);
    std::swap(masks->masks[0], masks->masks[1]);
    EXPECT_EQ(0, largestDifference(before, paint("four", 256)));
    std::swap(masks->masks[0], masks->masks[2]);
    EXPECT_EQ(0, largestDifference(before, paint("four", 256)));
  }
}

TEST_F(ViewTest, ShowsWhatIsSharedThroughTheMasks) {
  masks->add("a", RED, ball(24, 32, 32, 16));
  masks->add("b", GREEN, ball(40, 32, 32, 16));
  masks->overlapColor = BLUE;
  masks->overlapStyle = HxISetOfVolumeMask::DRAW_VOLUME;
  view->show(masks);
  const QImage picture = paint("space", 200);
  const QRgb middle = picture.pixel(100, 100);
  EXPECT_GT(qBlue(middle), qRed(middle));
  EXPECT_GT(qBlue(middle), qGreen(middle));
}

TEST_F(ViewTest, MakesTheSurfaceOfOneMaskAnewOnlyWhenItChanged) {
  for (int i = 0; i < 5; ++i) masks->add(QString::number(i), RED, ball(10 + 10 * i, 32, 32, 5));
  view->show(masks);
  paint("space");
  EXPECT_EQ(5, view->surfaces().madeCount());
  masks->named("3").isVisible = false;
  paint("space");
  masks->named("3").isVisible = true;
  paint("space");
  EXPECT_EQ(5, view->surfaces().madeCount());
  fill(*masks->named("2").node, ball(30, 32, 32, 8));
  paint("space");
  EXPECT_EQ(6, view->surfaces().madeCount());
}

TEST_F(ViewTest, MakesNoSurfaceOfHiddenMasksNorForSlices) {
  masks->add("a", RED, ball(32, 32, 32, 5));
  masks->add("b", RED, ball(32, 32, 32, 5)).isVisible = false;
  view->show(masks);
  paint("z");
  EXPECT_EQ(0, view->surfaces().madeCount());
  paint("four");
  EXPECT_EQ(1, view->surfaces().madeCount());
}

TEST_F(ViewTest, LeavesOutAMaskThatCannotBeAskedAndTellsItOnce) {
  masks->add("a", RED, ball(20, 32, 32, 10));
  const HxVolumeData* gone = masks->add("b", GREEN, ball(44, 32, 32, 10)).data;
  masks->onQuestion = [gone](const char*, const HxVolumeData* mask) {
    if (mask == gone) throw std::out_of_range("bimap<>: invalid key");
  };
  view->show(masks);
  for (int i = 0; i < 3; ++i) {
    const QImage picture = paint("four");
    EXPECT_GT(countLike(picture, RED), 100);
    EXPECT_EQ(0, countLike(picture, GREEN));
  }
  ASSERT_EQ(1u, messages.warnings.size());
  EXPECT_EQ("\"masks\" is not drawn whole; mask \"b\": bimap<>: invalid key", messages.warnings[0].toStdString());
}

TEST_F(ViewTest, SurvivesEveryQuestionThatThrows) {
  masks->add("a", RED, ball(20, 32, 32, 10));
  view->show(masks);
  for (const char* failing : {"visible", "reference", "style", "name", "color"}) {
    masks->onQuestion = [failing](const char* question, const HxVolumeData*) {
      if (std::string(question) == failing) throw 7;
    };
    EXPECT_EQ(QSize(128, 128), paint("four").size()) << failing;
  }
}

TEST_F(ViewTest, EvaluatesMasksBeforeTheyAreAsked) {
  masks->add("a", RED, ball(20, 32, 32, 10));
  view->show(masks);
  masks->onQuestion = [this](const char*, const HxVolumeData*) {
    if (masks->isNew()) throw std::out_of_range("bimap<>: invalid key");
  };
  masks->touch();
  EXPECT_GT(countLike(paint("four"), RED), 100);
  EXPECT_TRUE(messages.warnings.empty());
}

TEST_F(ViewTest, DrawsTheOthersWhenAnObjectHasNoAnswer) {
  masks->add("a", RED, ball(20, 32, 32, 10));
  const McHandle<TestMasks> other(new TestMasks({64, 64, 64}));
  other->add("b", GREEN, ball(44, 32, 32, 10));
  HxObjectPool::instance().add(other, QStringLiteral("other"));
  view->show(masks);
  view->show(other);
  masks->onQuestion = [](const char* question, const HxVolumeData*) {
    if (std::string(question) == "visible") throw std::out_of_range("bimap<>: invalid key");
  };
  const QImage picture = paint("four");
  EXPECT_EQ(0, countLike(picture, RED));
  EXPECT_GT(countLike(picture, GREEN), 100);
  ASSERT_EQ(1u, messages.warnings.size());
}

TEST_F(ViewTest, WhatIsPaintedMayGoMeanwhile) {
  /// Lets the user remove an object as soon as the work begins.
  class Remover : public RecordingProgress {
  public:
    void start(const std::string& text) override {
      RecordingProgress::start(text);
      if (object) HxObjectPool::instance().remove(object);
      object.reset();
    }
    McHandle<TestMasks> object;
  };
  Remover progress;
  progress.object = new TestMasks({64, 64, 64});
  progress.object->add("b", GREEN, ball(32, 32, 32, 20));
  HxObjectPool::instance().add(progress.object, QStringLiteral("other"));
  view->show(progress.object);
  const ProgressScope scope(progress);
  EXPECT_GT(countLike(paint("space"), GREEN), 100);
  EXPECT_TRUE(view->shownNames().isEmpty());
  EXPECT_EQ(0, countLike(paint("space"), GREEN));
}

TEST_F(ViewTest, LeavesOutAVolumeWithoutAMask) {
  masks->add("a", RED, ball(20, 32, 32, 10)).data->setVolumeNode(nullptr);
  view->show(masks);
  EXPECT_EQ(0, countLike(paint("four"), RED));
}

TEST_F(ViewTest, LeavesOutAMaskOfAnotherGrid) {
  masks->add("a", RED, ball(20, 32, 32, 10));
  TestMasks::Mask& other = masks->add("b", GREEN, ball(20, 32, 32, 10));
  other.node = newNode({32, 64, 64}, ball(20, 32, 32, 10));
  other.data->setVolumeNode(other.node.get());
  view->show(masks);
  EXPECT_EQ(0, countLike(paint("four"), GREEN));
  ASSERT_EQ(1u, messages.warnings.size());
  EXPECT_NE(std::string::npos, messages.warnings[0].toStdString().find("32 x 64 x 64 voxels, not 64 x 64 x 64"));
}

TEST_F(ViewTest, ForgetsObjectsThatLeaveThePool) {
  masks->add("a", RED, ball(20, 32, 32, 10));
  view->show(masks);
  EXPECT_GT(countLike(paint("four"), RED), 100);
  HxObjectPool::instance().remove(masks);
  EXPECT_TRUE(view->shownNames().isEmpty());
  EXPECT_EQ(0, countLike(paint("four"), RED));
}

TEST_F(ViewTest, DrawsAnEmptyViewAndEverySize) {
  for (const auto& [width, height] : {std::pair(1, 1), std::pair(1, 300), std::pair(301, 7), std::pair(257, 129)})
    EXPECT_EQ(QSize(width, height), view->paint(width, height).size());
  masks->add("a", RED, ball(20, 32, 32, 10));
  masks->add("nothing", RED, [](int, int, int) { return false; });
  view->show(masks);
  for (const auto& [width, height] : {std::pair(1, 1), std::pair(1, 300), std::pair(301, 7), std::pair(257, 129)})
    EXPECT_EQ(QSize(width, height), view->paint(width, height).size());
}

TEST_F(ViewTest, DrawsAFieldAsACloud) {
  const McHandle<HxUniformScalarField3> field(new HxUniformScalarField3(McDim3l(64, 64, 64), McPrimType::Uint8));
  const Shape large = ball(44, 32, 32, 14), small = ball(8, 32, 32, 3);
  for (int z = 0; z < 64; ++z)
    for (int y = 0; y < 64; ++y)
      for (int x = 0; x < 64; ++x) field->setValue(x, y, z, large(x, y, z) || small(x, y, z) ? 200 : 0);
  HxObjectPool::instance().add(field, QStringLiteral("field"));
  view->show(field);
  const QImage picture = paint("space", 160);
  double sum = 0, weighted = 0;
  for (int y = 0; y < 160; ++y)
    for (int x = 0; x < 160; ++x) {
      sum += qGray(picture.pixel(x, y));
      weighted += (x + 0.5) * qGray(picture.pixel(x, y));
    }
  ASSERT_GT(sum, 160 * 160);
  EXPECT_GT(weighted / sum / 160, 0.54);
  view->setVolumeMode(field, quarn::view::VolumeMode::Off);
  QImage black(160, 160, QImage::Format_RGB32);
  black.fill(Qt::black);
  EXPECT_EQ(0, largestDifference(paint("space", 160), black));
}

/// Front and back of a mask that shares voxels cover 0.32 each; the outline of what is shared covers 0.6 of what is
/// behind the fronts of both.
TEST_F(ViewTest, MasksThatShareVoxelsAreSeenThrough) {
  masks->add(QStringLiteral("a"), RED, ball(26, 32, 32, 12));
  view->show(masks);
  const QImage alone = paint("space", 160);
  masks->add(QStringLiteral("b"), RED, ball(38, 32, 32, 12));
  masks->overlapStyle = HxISetOfVolumeMask::DRAW_BOUNDARY;
  masks->overlapColor = BLUE;
  const QImage both = paint("space", 160);
  // The camera stays where it was, on the middle of the first.
  const QRgb left = both.pixel(52, 80), before = alone.pixel(52, 80);
  ASSERT_GT(qRed(before), 60);
  EXPECT_NEAR(1 - 0.68 * 0.68, static_cast<double>(qRed(left)) / qRed(before), 0.05);
  view->fitCamera();
  const QRgb shared = paint("space", 160).pixel(80, 80);
  ASSERT_GT(qRed(shared), 15);
  const double ratio = static_cast<double>(qBlue(shared)) / qRed(shared);
  EXPECT_GT(ratio, 0.62);
  EXPECT_LT(ratio, 0.84);
}

}  // namespace
