#include <QFile>
#include <QString>
#include <algorithm>
#include <benchmark/benchmark.h>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "bench/hxroi_bench.h"
#include "bench/limits.h"
#include "bench/measure.h"
#include "bench/traffic.h"
#include "bench/volumes.h"
#include "hxroi/HxRois.h"
#include "hxroi/HxRoisHelpers.h"
#include "hxroi/HxUniformLabelField3ToHxRois.h"
#include "hxroi/details/Mask.h"
#include "quarn/base/McException.h"
#include "quarn/base/McHandle.h"
#include "quarn/formats/readNifti.h"
#include "quarn/kernel/app/HxApplication.h"
#include "quarn/kernel/app/HxPreferences.h"
#include "quarn/kernel/app/HxSettingsMgr.h"
#include "quarn/kernel/fields/HxUniformLabelField3.h"
#include "quarn/kernel/fields/HxUniformScalarField3.h"
#include "quarn/kernel/io/QuarnMesh.h"
#include "quarn/voxora/nodes/SoVolumeMask.h"
#include "roitools/RoiMeasure.h"
#include "roitools/RoiOverlap.h"

namespace bench {

namespace {

using benchmark::State;
using hxroi::details::Mask;

const char* const atlasName = "aal 1-90, 181x217x181";

/// A file of the package mricron-data.
QString atlasFile(const char* name) {
  return QStringLiteral("/usr/share/mricron/templates/") + QLatin1String(name);
}

McHandle<HxUniformScalarField3> readLabels(const char* file, const char* names, const char* values) {
  HxLoadOptions options;
  if (names) options.labels = atlasFile(names);
  options.values = HxLoadOptions::parseRanges(QLatin1String(values));
  return quarn::formats::readNifti(atlasFile(file), options);
}

/// The first 90 labels of the atlas, which a set has room for.
HxUniformLabelField3& atlas() {
  static const McHandle<HxUniformScalarField3> field = readLabels("aal.nii.gz", "aal.nii.txt", "1-90");
  return dynamic_cast<HxUniformLabelField3&>(*field);
}

/// An atlas of the cortex with 48 labels.
HxUniformLabelField3& cortex() {
  static const McHandle<HxUniformScalarField3> field =
      readLabels("HarvardOxford-cort-maxprob-thr0-1mm.nii.gz", nullptr, "1-48");
  return dynamic_cast<HxUniformLabelField3&>(*field);
}

/// An atlas on the grid of atlas() with 41 labels.
HxUniformLabelField3& areas() {
  static const McHandle<HxUniformScalarField3> field = readLabels("brodmann.nii.gz", nullptr, "1-48");
  return dynamic_cast<HxUniformLabelField3&>(*field);
}

std::size_t labelBytes(const HxUniformLabelField3& field) {
  return static_cast<std::size_t>(field.voxelCount());
}

McHandle<HxRois> convert(HxUniformLabelField3ToHxRois& module) {
  module.portDoIt.hit(0);
  module.fire();
  return dynamic_cast<HxRois*>(module.resultObject(0));
}

McHandle<HxUniformLabelField3ToHxRois> converter(HxUniformLabelField3& labels = atlas()) {
  McHandle<HxUniformLabelField3ToHxRois> module(new HxUniformLabelField3ToHxRois);
  module->dataConnection.connect(&labels);
  return module;
}

McHandle<HxRois> setOf(HxUniformLabelField3& labels) {
  return convert(*converter(labels));
}

McHandle<HxRois> atlasSet() {
  return setOf(atlas());
}

hxvoxora::TileSnapshot contentOf(const Mask& mask) {
  return mask.volumeMask()->snapshot();
}

/// Runs `body`; what it cannot do fails the benchmark and not the whole run.
void guarded(State& state, const std::function<void()>& body) {
  try {
    body();
  } catch (const std::exception& failure) {
    state.SkipWithError(failure.what());
  }
}

void addTo(const char* operation, const char* data, int runs, const std::function<void(State&)>& body) {
  add(operation, data, runs, [body](State& state) { guarded(state, [&] { body(state); }); });
}

// --- Labels to masks --------------------------------------------------------------------------------------------

void timeStore(State& state, const HxUniformLabelField3& field, int label) {
  McHandle<Mask> mask(new Mask("Stored", HxRoisHelpers::gridOf(field), false, McColor(1, 1, 1), nullptr));
  HxRoisHelpers::store(&field, label, mask.get(), nullptr);
  const Limit limit = read(labelBytes(field)) + copy(payloadBytes(contentOf(*mask)));
  timeRuns(
      state, limit, [&] { *mask = false; }, [&] { HxRoisHelpers::store(&field, label, mask.get(), nullptr); });
}

/// A field that holds 1 in all bodies.
McHandle<HxUniformLabelField3> bodyLabels() {
  const PackedVolume bodies = solidBodies({512, 512, 512}, 1);
  McHandle<HxUniformLabelField3> field(new HxUniformLabelField3(McDim3l(512, 512, 512)));
  std::uint8_t* labels = field->lattice().getLabels();
  for (std::size_t i = 0; i < labelBytes(*field); ++i) labels[i] = bodies.bits[i / 8] >> (7 - i % 8) & 1;
  return field;
}

void addConversion() {
  addTo("labels: store one label", "aal, 181x217x181", 20, [](State& state) { timeStore(state, atlas(), 37); });
  addTo("labels: store one label", "bodies 512^3", 3, [](State& state) {
    static const McHandle<HxUniformLabelField3> field = bodyLabels();
    timeStore(state, *field, 1);
  });
  addTo("labels: convert a field", atlasName, 1, [](State& state) {
    const ScratchFolder folder;
    std::vector<std::size_t> sizes;
    {
      // The files of the masks go with them.
      const McHandle<HxRois> rois = atlasSet();
      for (const Mask* mask : rois->masks())
        for (const char* suffix : {".ldm", ".dat", ".fcp"})
          sizes.push_back(std::filesystem::file_size(mask->temporaryPrefix() + suffix));
    }
    const Limit limit = read(labelBytes(atlas())) + writeFiles(folder.path(), sizes);
    McHandle<HxUniformLabelField3ToHxRois> module;
    timeRuns(
        state, limit, [&] { module = converter(); }, [&] { convert(*module); });
  });
}

// --- Files of a set ---------------------------------------------------------------------------------------------

/// Always to a new file.
void timeSaving(State& state, HxUniformLabelField3& labels) {
  const McHandle<HxRois> rois = setOf(labels);
  const ScratchFolder folder, plain;
  rois->writeQuarnMesh(folder.path("first.ROIs.qm").c_str());
  const std::vector<std::size_t> sizes = fileSizesBelow(folder.path());
  Limit limit = writeFiles(plain.path(), sizes);
  // Without their sizes, which differ a little with the identifiers.
  limit.text = "write and sync " + std::to_string(sizes.size()) + " files";
  int name = 0;
  timeRuns(state, limit, [&] {
    if (!rois->writeQuarnMesh(folder.path(std::to_string(++name) + ".ROIs.qm").c_str()))
      throw McException("The set cannot be saved.");
  });
}

void addSetFiles() {
  addTo("set: save", atlasName, 1, [](State& state) { timeSaving(state, atlas()); });
  addTo("set: save", "cortex 1-48, 182x218x182", 1, [](State& state) { timeSaving(state, cortex()); });
  addTo("set: load and count", atlasName, 3, [](State& state) {
    const ScratchFolder folder, plain;
    const std::string file = folder.path("atlas.ROIs.qm");
    atlasSet()->writeQuarnMesh(file.c_str());
    const Limit limit = readFiles(plain.path(), fileSizesBelow(folder.path()));
    McHandle<HxRois> rois;
    timeRuns(
        state, limit, [&] { rois = new HxRois; },
        [&] {
          QString name;
          if (!rois->readQuarnMesh(QuarnMesh::read(QString::fromStdString(file)).get(), file.c_str(), name))
            throw McException("The set cannot be loaded.");
          for (const Mask* mask : rois->masks())
            benchmark::DoNotOptimize(mask->volumeMask()->countSetVoxels(contentOf(*mask).grid().box()));
        });
  });
}

// --- Measuring a set --------------------------------------------------------------------------------------------

void addMeasuring() {
  addTo("set: measure with an image", "aal 1-90, ch2", 5, [](State& state) {
    static const auto image = quarn::formats::readNifti(atlasFile("ch2.nii.gz"), HxLoadOptions());
    const McHandle<HxRois> rois = atlasSet();
    std::size_t bytes = 0;
    for (const Mask* mask : rois->masks()) {
      const hxvoxora::TileSnapshot content = contentOf(*mask);
      bytes += payloadBytes(content) + mask->volumeMask()->countSetVoxels(content.grid().box()) *
                                           HxUniformScalarField3::primTypeSize(image->primType());
    }
    timeRuns(state, read(bytes), [&] {
      for (const Mask* mask : rois->masks()) benchmark::DoNotOptimize(roitools::measure(contentOf(*mask), image.get()));
    });
  });
}

/// Boxes of 200^3 voxels in a row along the diagonal of a grid of 4096^3, each of which meets its neighbours.
roitools::OverlapInput boxesOnLargeGrid() {
  roitools::OverlapInput input;
  for (int i = 0; i < 100; ++i) {
    const auto volume = hxvoxora::makeRef<SoVolumeMask>();
    volume->initializeInMemory(SbVec3i32(4096, 4096, 4096), SbVec3i32(64, 64, 64));
    const int transaction = volume->beginTransaction();
    const int low = 39 * i, high = low + 199;
    volume->fillBox(SbBox3i32(SbVec3i32(low, low, low), SbVec3i32(high, high, high)), 1);
    volume->endTransaction(transaction);
    input.rois.push_back(volume->snapshot());
  }
  return input;
}

/// All pairs of the masks of two atlases, those of one atlas among themselves too.
void addOverlaps() {
  addTo("set: overlaps of all pairs", "100 boxes of 200^3 on 4096^3", 3, [](State& state) {
    const roitools::OverlapInput input = boxesOnLargeGrid();
    std::size_t bytes = 0;
    for (const auto& content : input.rois) bytes += payloadBytes(content);
    timeRuns(state, read(bytes), [&] { benchmark::DoNotOptimize(roitools::countOverlaps(input, {})); });
  });
  addTo("set: overlaps of all pairs", "aal 1-90 and brodmann, 131 masks", 5, [](State& state) {
    const McHandle<HxRois> one = atlasSet(), other = setOf(areas());
    roitools::OverlapInput input;
    std::size_t bytes = 0;
    for (const HxRois* rois : {one.get(), other.get()}) {
      for (const Mask* mask : rois->masks()) {
        input.rois.push_back(contentOf(*mask));
        bytes += payloadBytes(input.rois.back());
      }
    }
    if (input.rois.size() != 131) throw McException("There are " + std::to_string(input.rois.size()) + " masks.");
    timeRuns(state, read(bytes), [&] { benchmark::DoNotOptimize(roitools::countOverlaps(input, {})); });
  });
}

}  // namespace

void addAtlasBenchmarks() {
  addConversion();
  addSetFiles();
  addMeasuring();
  addOverlaps();
}

}  // namespace bench
