#include <QApplication>
#include <QElapsedTimer>
#include <QTreeView>
#include <gmock/gmock.h>

#include "hxroi/internal/QxModelRoisSynchronizer.h"
#include "tests/hxroi/internal/TreeTest.h"

/// Bounds with a wide margin; what was measured is printed and kept with the results of the tests.
class TreeSpeed : public TreeTest {
protected:
  /// 100 masks, half of them in 50 groups.
  void fillLargeSet() {
    for (int i = 0; i < 50; ++i) {
      const std::string number = std::to_string(i);
      rois->addRoi(makeMask("mask" + number, {2, 2, 2}));
      const McHandle<Group> group(new Group("group" + number, McColor(), nullptr));
      group->addMask(makeMask("member" + number, {2, 2, 2}));
      rois->addRoi(group);
    }
  }

  /// Without a watch, which looks at every row at each signal.
  void showUnwatched() {
    model = std::make_unique<QxRoiTreeModel>(nullptr, QxRoiTreeModel::FULL_MODULE);
    model->setupModelData(rois);
  }

  static void report(const char* what, double milliseconds) {
    RecordProperty(what, std::to_string(milliseconds));
    std::printf("%s: %.3f ms\n", what, milliseconds);
  }
};

TEST_F(TreeSpeed, ReachesTheTreeSoonAfterAChange) {
  fillLargeSet();
  showUnwatched();
  QTreeView view;
  view.setUniformRowHeights(true);
  view.setModel(model.get());
  view.expandAll();
  view.show();
  QxModelRoisSynchronizer synchronizer;
  synchronizer.setModel(model.get());
  std::vector<double> times;
  const auto synchronize = [&] {
    QElapsedTimer timer;
    timer.start();
    synchronizer.synchronizeData();
    times.push_back(static_cast<double>(timer.nsecsElapsed()) / 1e6);
  };
  for (int i = 0; i < 25; ++i) {
    const McHandle<Roi> roi = rois->removeRoi("mask" + std::to_string(i));
    synchronize();
    rois->insertRoi(roi, 25);
    synchronize();
  }
  EXPECT_EQ(textOf(*model), textOf(*rois));
  std::sort(times.begin(), times.end());
  report("synchronization, median", times[times.size() / 2]);
  report("synchronization, slowest", times.back());
  EXPECT_LT(times[times.size() / 2], 50);
  synchronizer.setModel(nullptr);
}

TEST_F(TreeSpeed, FollowsAThousandRenamings) {
  fillLargeSet();
  QWidget window;
  rois->portRoiVisibility.createWidget(&window);
  window.show();
  QApplication::processEvents();
  QElapsedTimer timer;
  timer.start();
  for (int i = 0; i < 1000; ++i) {
    const std::string number = std::to_string(i % 50);
    const std::string former = i < 50 ? "mask" + number : "renamed" + number + "-" + std::to_string(i / 50 - 1);
    rois->getRoi(former)->setName("renamed" + number + "-" + std::to_string(i / 50));
    rois->fire(1);
    QApplication::processEvents();
  }
  const double elapsed = static_cast<double>(timer.nsecsElapsed()) / 1e6;
  EXPECT_EQ(textOf(*rois->portRoiVisibility.getModel()), textOf(*rois));
  report("a thousand renamings", elapsed);
  EXPECT_LT(elapsed, 10000);
}
