#include <QApplication>
#include <QWidget>
#include <benchmark/benchmark.h>
#include <memory>
#include <string>

#include "bench/hxroi_bench.h"
#include "bench/limits.h"
#include "bench/measure.h"
#include "hxroi/HxPortRoiTreeView.h"
#include "hxroi/HxRois.h"
#include "hxroi/details/Group.h"
#include "hxroi/details/Mask.h"
#include "hxroi/internal/QxRoiTreeView.h"
#include "quarn/base/McHandle.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/kernel/script/HxInterpreter.h"

namespace bench {

namespace {

using benchmark::State;
using hxroi::details::Group;
using hxroi::details::Mask;

/// A set of 100 masks, half of them in 50 groups, with its tree on the screen.
class ShownSet {
public:
  ShownSet() {
    for (int i = 0; i < 50; ++i) {
      const std::string number = std::to_string(i);
      rois_->addRoi(McHandle<Mask>(maskNamed("mask" + number)));
      const McHandle<Group> group(new Group("group" + number, McColor(), nullptr));
      group->addMask(maskNamed("member" + number));
      rois_->addRoi(group);
    }
    HxObjectPool::instance().add(rois_, "rois");
    rois_->fire(1);
    rois_->portRoiVisibility.createWidget(&window_);
    window_.show();
    rois_->portRoiVisibility.view()->expandAll();
    showAll();
  }
  ~ShownSet() { HxObjectPool::instance().clear(); }
  ShownSet(const ShownSet&) = delete;
  ShownSet& operator=(const ShownSet&) = delete;

  HxRois& rois() { return *rois_; }
  HxPortRoiTreeView& port() { return rois_->portRoiVisibility; }

  /// Until the screen is as the set is.
  static void showAll() { QApplication::processEvents(); }

private:
  static Mask* maskNamed(const std::string& name) {
    return new Mask(name, McVec3i(16, 16, 16), false, McColor(1, 0, 0), nullptr);
  }

  McHandle<HxRois> rois_{new HxRois};
  QWidget window_;
};

void timeOneChange(State& state) {
  ShownSet shown;
  bool isFront = false;
  timeRuns(
      state, goal(5e-3),
      [&] {
        const McHandle<hxroi::details::Roi> roi = shown.rois().removeRoi("mask7");
        isFront = !isFront;
        shown.rois().insertRoi(roi, isFront ? 2 : 90);
      },
      [&] { shown.port().updateHxRois(); });
  if (shown.port().view()->model()->rowCount() != 100) state.SkipWithError("the tree is not that of the set");
}

void timeRenamings(State& state) {
  ShownSet shown;
  int round = 0;
  timeRuns(state, goal(1), [&] {
    for (int i = 0; i < 1000; ++i) {
      const QString former = i % 2 == 0 ? "mask7" : "renamed";
      const QString next = i % 2 == 0 ? "renamed" : "mask7";
      HxInterpreter::instance().evaluate(QString("rois renameRoi %1 %2; rois fire").arg(former, next));
      ShownSet::showAll();
    }
    ++round;
  });
  if (round == 0 || !shown.rois().getRoi("mask7")) state.SkipWithError("not renamed");
}

}  // namespace

void addTreeBenchmarks() {
  add("tree: take one change of the set", "100 masks, 50 groups", 20, timeOneChange);
  add("tree: rename 1,000 times by script", "100 masks, 50 groups", 1, timeRenamings);
}

}  // namespace bench
