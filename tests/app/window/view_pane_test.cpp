#include <QApplication>
#include <QMenuBar>
#include <QMessageBox>
#include <QTest>
#include <QTimer>
#include <gtest/gtest.h>

#include "quarn/app/window/MainWindow.h"
#include "quarn/app/window/ViewMenu.h"
#include "quarn/app/window/ViewPane.h"
#include "quarn/kernel/app/HxMessage.h"
#include "quarn/kernel/fields/HxUniformScalarField3.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/view/HxSceneView.h"
#include "quarn/view/SceneCamera.h"
#include "quarn/view/SceneLayout.h"
#include "quarn/view/registerView.h"

using quarn::app::MainWindow;
using quarn::app::ViewMenu;
using quarn::app::ViewPane;

namespace {

class ViewPaneTest : public ::testing::Test {
protected:
  ViewPaneTest() {
    quarn::view::registerView();
    window_.resize(900, 600);
    window_.show();
  }
  ~ViewPaneTest() override { HxObjectPool::instance().clear(); }

  static HxUniformScalarField3* addImage() {
    const McHandle<HxUniformScalarField3> image(new HxUniformScalarField3(McDim3l(10, 11, 12), McPrimType::Uint8));
    HxObjectPool::instance().add(image.get(), QStringLiteral("image"));
    return image.get();
  }

  static HxSceneView* addView() {
    const McHandle<HxSceneView> view(new HxSceneView);
    HxObjectPool::instance().add(view.get(), QStringLiteral("view"));
    return view.get();
  }

  ViewPane* pane() const { return window_.findChild<ViewPane*>(); }
  ViewMenu* menu() const { return window_.findChild<ViewMenu*>(); }

  /// Waits for a picture other than the one with this key.
  bool waitForPicture(qint64 formerKey = 0) const {
    return QTest::qWaitFor([&] { return !pane()->picture().isNull() && pane()->picture().cacheKey() != formerKey; });
  }

  QPoint middleOf(quarn::view::Pane wanted) const {
    for (const auto& placed : quarn::view::placePanes(pane()->view()->layout(), pane()->width(), pane()->height()))
      if (placed.pane == wanted) return placed.place.center();
    return {};
  }

  void turnWheel(const QPoint& place, int notches) const {
    QWheelEvent event(place, pane()->mapToGlobal(place), {}, QPoint(0, notches * 120), Qt::NoButton, Qt::NoModifier,
                      Qt::NoScrollPhase, false);
    QApplication::sendEvent(pane(), &event);
  }

  MainWindow window_;
};

}  // namespace

TEST_F(ViewPaneTest, ShowsTheViewThatComesUntilItGoes) {
  EXPECT_FALSE(pane()->isVisible());
  HxSceneView* view = addView();
  EXPECT_EQ(view, pane()->view());
  EXPECT_TRUE(pane()->isVisible());
  HxSceneView* second = addView();
  EXPECT_EQ(view, pane()->view());
  HxObjectPool::instance().remove(view);
  EXPECT_EQ(second, pane()->view());
  HxObjectPool::instance().remove(second);
  EXPECT_EQ(nullptr, pane()->view());
  EXPECT_FALSE(pane()->isVisible());
}

TEST_F(ViewPaneTest, DrawsInTheSizeOfThePane) {
  addView()->show(addImage());
  ASSERT_TRUE(waitForPicture()) << pane()->failure().toStdString();
  EXPECT_EQ(pane()->size() * pane()->devicePixelRatioF(), pane()->picture().size());
}

TEST_F(ViewPaneTest, DrawsAnewWhenAnObjectWasEvaluated) {
  HxUniformScalarField3* image = addImage();
  addView()->show(image);
  ASSERT_TRUE(waitForPicture());
  QCoreApplication::processEvents();
  const qint64 former = pane()->picture().cacheKey();
  QTest::qWait(50);
  ASSERT_EQ(former, pane()->picture().cacheKey()) << "drawn without need";
  image->touch();
  image->fire();
  EXPECT_TRUE(waitForPicture(former));
}

TEST_F(ViewPaneTest, TurnsUnderTheLeftButton) {
  addView()->show(addImage());
  ASSERT_TRUE(waitForPicture());
  const QString before = pane()->view()->camera().state();
  const QPoint place = middleOf(quarn::view::Pane::Space);
  QTest::mousePress(pane(), Qt::LeftButton, {}, place);
  QTest::mouseMove(pane(), place + QPoint(30, 10));
  EXPECT_NE(before, pane()->view()->camera().state());
  const QString turned = pane()->view()->camera().state();
  QTest::mouseRelease(pane(), Qt::LeftButton, {}, place + QPoint(30, 10));
  QTest::mouseMove(pane(), place);
  EXPECT_EQ(turned, pane()->view()->camera().state()) << "the button was released";
  ASSERT_TRUE(QTest::qWaitFor([&] { return pane()->picture().size() == pane()->size(); })) << "whole resolution again";
}

TEST_F(ViewPaneTest, DragsOverSlicesTurnNothing) {
  addView()->show(addImage());
  const QString before = pane()->view()->camera().state();
  const QPoint place = middleOf(quarn::view::Pane::X);
  QTest::mousePress(pane(), Qt::LeftButton, {}, place);
  QTest::mouseMove(pane(), place + QPoint(5, 5));
  EXPECT_EQ(before, pane()->view()->camera().state());
}

TEST_F(ViewPaneTest, TheWheelGoesThroughSlicesToTheirEnd) {
  HxSceneView* view = addView();
  view->show(addImage());
  turnWheel(middleOf(quarn::view::Pane::Z), 2);
  EXPECT_EQ(8, view->slice(2));
  turnWheel(middleOf(quarn::view::Pane::Z), 20);
  EXPECT_EQ(11, view->slice(2));
  turnWheel(middleOf(quarn::view::Pane::X), -20);
  EXPECT_EQ(0, view->slice(0));
  EXPECT_EQ(5, view->slice(1));
}

TEST_F(ViewPaneTest, TheWheelZoomsInSpace) {
  HxSceneView* view = addView();
  view->show(addImage());
  turnWheel(middleOf(quarn::view::Pane::Space), 1);
  EXPECT_GT(view->camera().zoom(), 1);
}

TEST_F(ViewPaneTest, TheMenuShowsAndHidesWhatIsChosen) {
  HxUniformScalarField3* image = addImage();
  window_.choose(image);
  menu()->toggleChosen();
  ASSERT_NE(nullptr, pane()->view());
  EXPECT_EQ(QStringList{QStringLiteral("image")}, pane()->view()->shownNames());
  EXPECT_EQ(QStringLiteral("&Hide Object"), menu()->toggleAction()->text());
  menu()->toggleChosen();
  EXPECT_TRUE(pane()->view()->shownNames().isEmpty());
  EXPECT_EQ(QStringLiteral("&Show Object"), menu()->toggleAction()->text());
}

TEST_F(ViewPaneTest, TheFirstObjectThatComesIsShown) {
  const McHandle<HxObject> table = HxObject::create(QStringLiteral("HxTable"));
  HxObjectPool::instance().add(table.get(), QStringLiteral("numbers"));
  menu()->showFirst({QStringLiteral("numbers"), QStringLiteral("nothing")});
  EXPECT_EQ(nullptr, pane()->view());
  addImage();
  addImage();
  menu()->showFirst({QStringLiteral("numbers"), QStringLiteral("image"), QStringLiteral("image2")});
  ASSERT_NE(nullptr, pane()->view());
  EXPECT_EQ(QStringList{QStringLiteral("image")}, pane()->view()->shownNames());
  menu()->showFirst({QStringLiteral("image2")});
  EXPECT_EQ(QStringList{QStringLiteral("image")}, pane()->view()->shownNames());
}

TEST_F(ViewPaneTest, TheMenuTellsWhatCannotBeShown) {
  const McHandle<HxObject> table = HxObject::create(QStringLiteral("HxTable"));
  HxObjectPool::instance().add(table.get(), QStringLiteral("numbers"));
  window_.choose(table.get());
  const HxMessage::Mark mark = HxMessage::mark();
  menu()->toggleChosen();
  EXPECT_EQ(mark.boxes + 1, HxMessage::mark().boxes);
}

TEST_F(ViewPaneTest, ACommandDrawsAnew) {
  addView()->show(addImage());
  ASSERT_TRUE(waitForPicture());
  QCoreApplication::processEvents();
  const qint64 former = pane()->picture().cacheKey();
  window_.console()->run(QStringLiteral("view camera top"));
  EXPECT_TRUE(waitForPicture(former));
}
