#include <QApplication>
#include <QStringList>
#include <benchmark/benchmark.h>
#include <chrono>
#include <functional>

#include "bench/measure.h"
#include "hxroi/package.h"
#include "quarn/base/McException.h"
#include "quarn/base/mcinterface_cast.h"
#include "quarn/formats/registerFormats.h"
#include "quarn/kernel/app/HxApplication.h"
#include "quarn/kernel/app/HxPreferences.h"
#include "quarn/kernel/app/HxRecordingSink.h"
#include "quarn/kernel/app/HxSettingsMgr.h"
#include "quarn/kernel/fields/HxISetOfVolumeMask.h"
#include "quarn/kernel/objects/HxInterfaceFactoryRegistry.h"
#include "quarn/kernel/objects/HxObjectPool.h"
#include "quarn/kernel/script/HxInterpreter.h"
#include "quarn/view/HxSceneView.h"
#include "quarn/view/SurfaceCache.h"
#include "quarn/view/registerView.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"

/// Pictures of all masks of a real atlas: the first one, one that shows or hides a mask, one after an edit.

namespace {

using benchmark::State;

constexpr int WIDTH = 1000;
constexpr int HEIGHT = 800;

/// An atlas of the package mricron-data and the labels of it that are taken.
struct Atlas {
  const char* name;
  const char* file;
  const char* values;
};

const Atlas ATLASES[] = {{"cortex 48 masks", "HarvardOxford-cort-maxprob-thr0-1mm.nii.gz", "1-48"},
                         {"tracts 32 masks", "natbrainlab.nii.gz", "1-116"}};

void run(const QString& script) {
  if (const auto error = HxInterpreter::instance().evaluate(script)) throw McException(error->message.toStdString());
}

template <class Object>
Object& objectNamed(const char* name) {
  return dynamic_cast<Object&>(*HxObjectPool::instance().find(name));
}

/// The masks of an atlas, ready to be shown; the pool is empty again in the end.
class Masks {
public:
  explicit Masks(const Atlas& atlas) {
    run(QStringLiteral("load /usr/share/mricron/templates/%1 -as atlas -kind label -values %2\n"
                       "create HxUniformLabelField3ToHxRois convert\n"
                       "convert data connect atlas\nconvert doIt hit\nconvert fire\n"
                       "create HxRoiSelector selector\n"
                       "selector data connect [convert getResult]\nselector fire")
            .arg(QLatin1String(atlas.file), QLatin1String(atlas.values)));
  }
  ~Masks() { HxObjectPool::instance().clear(); }

  HxObject& selector() const { return objectNamed<HxObject>("selector"); }
  HxISetOfVolumeMask::VolumeList visible() const {
    return mcinterface_cast<HxISetOfVolumeMask>(&selector())->getVisibleVolumeMask();
  }
  void setVisible(const QString& name, bool isVisible) const {
    run(QStringLiteral("selector roiVisibility setRoiVisible {%1} %2\nselector fire").arg(name).arg(isVisible ? 1 : 0));
  }
};

McHandle<HxSceneView> newView(const Masks& masks) {
  McHandle<HxSceneView> view(new HxSceneView);
  view->show(&masks.selector());
  return view;
}

void firstPicture(State& state, const Atlas& atlas) {
  const Masks masks(atlas);
  for (auto _ : state) {
    const McHandle<HxSceneView> view = newView(masks);
    benchmark::DoNotOptimize(view->paint(WIDTH, HEIGHT));
  }
}

void samePicture(State& state, const Atlas& atlas) {
  const Masks masks(atlas);
  const McHandle<HxSceneView> view = newView(masks);
  view->paint(WIDTH, HEIGHT);
  for (auto _ : state) benchmark::DoNotOptimize(view->paint(WIDTH, HEIGHT));
}

void toggledMask(State& state, const Atlas& atlas) {
  const Masks masks(atlas);
  const McHandle<HxSceneView> view = newView(masks);
  view->paint(WIDTH, HEIGHT);
  const QString name = masks.visible()[7]->getLabel();
  bool isVisible = true;
  for (auto _ : state) {
    isVisible = !isVisible;
    masks.setVisible(name, isVisible);
    benchmark::DoNotOptimize(view->paint(WIDTH, HEIGHT));
  }
}

void editedMask(State& state, const Atlas& atlas) {
  const Masks masks(atlas);
  const McHandle<HxSceneView> view = newView(masks);
  view->paint(WIDTH, HEIGHT);
  auto& node = dynamic_cast<SoVolumeMask&>(*masks.visible()[7]->getVolumeNode());
  const SbVec3i32 size = node.dataDimension();
  const SbBox3i32 box = node.computeBoundingBox({{0, 0, 0}, {size[0] - 1, size[1] - 1, size[2] - 1}});
  int value = 0;
  for (auto _ : state) {
    const int transaction = node.beginTransaction();
    node.fillBox({box.getMin(), box.getMin()}, value = 1 - value);
    node.endTransaction(transaction);
    benchmark::DoNotOptimize(view->paint(WIDTH, HEIGHT));
  }
}

void addBenchmarks() {
  const std::pair<const char*, void (*)(State&, const Atlas&)> kinds[] = {{"first picture", firstPicture},
                                                                          {"same picture again", samePicture},
                                                                          {"one mask shown or hidden", toggledMask},
                                                                          {"one mask edited", editedMask}};
  for (const Atlas& atlas : ATLASES)
    for (const auto& [kind, work] : kinds)
      benchmark::RegisterBenchmark((std::string("view/") + atlas.name + "/" + kind).c_str(),
                                   [work, &atlas](State& state) { work(state, atlas); })
          ->Unit(benchmark::kMillisecond)
          ->MeasureProcessCPUTime()
          ->UseRealTime();
}

}  // namespace

int main(int argc, char** argv) {
  if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication application(argc, argv);
  const bench::ScratchFolder folder;
  HxApplication::instance()->settings()->getPreferences()->setTemporaryDirectory(QString::fromStdString(folder.path()));
  const HxRecordingSink quiet;
  quarnpackage_hxroi_init();
  // As the manifest of the package has it.
  HxInterfaceFactoryRegistry::instance().declare(QStringLiteral("HxRoiSelector"),
                                                 QStringLiteral("HxSetOfVolumeMaskFromHxRoiSelectorFactory"));
  quarn::formats::registerFormats();
  quarn::view::registerView();
  addBenchmarks();
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
